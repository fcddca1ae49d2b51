#pragma once

#include "provider/BusCall.h"

class BusObject;

/// The answer to a call, whatever arrives; without the bus, and without any effect but that of the
/// object's own method.
namespace Dispatch {

/// The reply of `object`, which stands at the call's path. A method of its own interface, of Properties or of
/// Introspectable is called with the arguments that it takes; everything else is answered with the error that
/// the bus has for it.
BusReply answer(const BusCall& call, const BusObject& object);

/// The reply when nothing stands at the call's path.
BusReply noObject();

/// An argument that makes no sense can be as long as the longest message that the bus lets pass. A reply that
/// repeated it would be longer, and the bus would hang up on its sender: messages end after this many
/// characters.
constexpr int LongestMessage = 1000;

} // namespace Dispatch
