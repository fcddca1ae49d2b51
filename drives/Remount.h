#pragma once

#include <QString>

/// Mounting a file system again with other options.
namespace Remount {

/// A file system that is mounted, and how it is to be mounted instead.
struct Mounted
{
    QString type; ///< as UDisks names it
    QString deviceFile;
    QString path;    ///< where it is mounted
    QString options; ///< comma-separated, may be empty
};

/// NTFS is unmounted and its driver run again, read-only when that fails; every other file system is
/// remounted by the kernel. Returns "DONE ..." or "ERROR ..."; the empty text when the NTFS driver refused
/// the options, or when a stop was asked for before this began. Once begun it is carried out whole. Failures
/// are logged; nothing throws.
QString carryOut(const Mounted& mounted);

} // namespace Remount
