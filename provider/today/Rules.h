#pragma once

#include <vector>

#include <QString>
#include <QStringList>

#include "provider/today/Picture.h"

/// The differences between today's machines and those that programs of UDisks 1's days were made for, and how
/// they are presented.
struct Rule
{
    const char* word;   ///< its name for the user, which stays as it is
    const char* reason; ///< one sentence
    /// Changes what is presented; null for a rule that is about mounts, not about devices.
    void (*apply)(Picture& picture, const Circumstances& circumstances);
};

namespace Rules {

/// Every rule, in the order in which they are applied.
const std::vector<Rule>& all();

/// The rules that are on.
using Selection = std::vector<const Rule*>;

/// All but those with these words.
Selection allBut(const QStringList& words);
bool contains(const Selection& rules, const char* word);

/// The words of all rules, with commas between them.
QString words();

/// The machine's devices as the rules present them.
Picture present(const std::vector<const Device*>& devices, const Selection& rules,
                const Circumstances& circumstances);

} // namespace Rules
