#pragma once

#include <QString>

/// How the options of a remount request become an argument, kernel flags and a driver, and how its status
/// names them: pure functions.
namespace RemountOptions {

/// "-o" followed by the options; empty when there are none.
QString optionArgument(const QString& options);

/// Whether ntfsfix runs first.
bool wantsRepair(const QString& options);
/// The NTFS driver's program: "lowntfs-3g" when letter case is to be ignored, otherwise "ntfs-3g".
QString ntfsDriver(const QString& options);

/// Flags and data of the kernel's remount.
struct KernelRemount
{
    unsigned long flags = 0;
    QString data;
};

KernelRemount kernelRemount(const QString& optionArgument);

/// The status text of a remount that has worked.
QString done(const QString& path, const QString& options);

} // namespace RemountOptions
