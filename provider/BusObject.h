#pragma once

#include <optional>

#include <QStringList>
#include <QVariantMap>

#include "interfaces/InterfaceDescription.h"
#include "provider/BusCall.h"

/// An object with one interface of its own, as its clients on the bus see it.
class BusObject
{
public:
    virtual ~BusObject() = default;

    virtual const InterfaceDescription& interface() const = 0;
    /// Carries out a method of the interface. `call` has the arguments that the method takes.
    virtual BusReply carryOut(const BusCall& call) const = 0;

    /// Nothing: there is no such property. All of them are read-only.
    virtual std::optional<QVariant> property(const QString& name) const = 0;
    virtual QVariantMap allProperties() const = 0;

    /// The last elements of the paths of the objects directly below.
    virtual QStringList children() const { return {}; }
};
