#pragma once

/// The exit statuses of `vrudisks` (docs/man/vrudisks.8).
namespace ExitStatus {

constexpr int Failed = 1;
constexpr int WrongUse = 2;

} // namespace ExitStatus
