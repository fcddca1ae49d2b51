#pragma once

#include <string>

/// Limits for figures that hold on a slow and busy machine: counts, sizes, and ratios of times that were
/// taken in turns. The run fails in the end when one was exceeded, so that a table is never cut short.
namespace Budgets {

void expectAtMost(const std::string& what, double found, double limit);

/// Prints every budget beside what was found; whether all of them hold.
bool hold();

} // namespace Budgets
