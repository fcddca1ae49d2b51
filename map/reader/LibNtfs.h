#pragma once

// libntfs-3g was made for C: its headers need the answers of a configure script, and their functions the
// linkage of C.
#include <cstdint>

#include <sys/stat.h>
#include <sys/types.h>

#define HAVE_SYS_TYPES_H 1
#define HAVE_SYS_STAT_H 1
#define HAVE_TIME_H 1
#define HAVE_ENDIAN_H 1

extern "C" {
#include <ntfs-3g/attrib.h>
#include <ntfs-3g/device.h>
#include <ntfs-3g/dir.h>
#include <ntfs-3g/inode.h>
#include <ntfs-3g/logging.h>
#include <ntfs-3g/unistr.h>
#include <ntfs-3g/volume.h>
}
