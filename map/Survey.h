#pragma once

#include <optional>
#include <vector>

#include <QString>
#include <QStringList>

#include "map/Volume.h"
#include "map/reader/WindowsFinding.h"
#include "map/reader/WindowsSearch.h"

/// What the partitions of the machine hold.
struct Survey
{
    struct Windows
    {
        std::size_t volume; ///< index
        WindowsFinding finding;
    };

    std::vector<Volume> volumes;
    std::vector<Windows> windows; ///< of each NTFS partition of an internal disk that could be read
    QStringList notes;            ///< for the user: what could not be read, and why
};

/// Reads the tables of the disks and the NTFS partitions of internal disks, or only the one at `only` if that
/// is given. Each is read by a confined process (see reader/ConfinedReading.h); what cannot be read is noted.
/// Takes twenty seconds at most.
Survey surveyOf(std::vector<Volume> volumes, Wanted wanted, const QString& only);
