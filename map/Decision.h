#pragma once

#include <vector>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "map/Survey.h"

/// What this machine's drives map is, and what is shown of it.
struct Decision
{
    struct Row
    {
        QString letter;
        QString partition; ///< its node; empty: the letter is kept free
        QString label;
        QString from; ///< where this is from, or why the letter is kept free
    };

    std::vector<Row> rows;
    QStringList notes;
    QByteArray map;        ///< empty: there is none
    quint64 bytesRead = 0; ///< from the NTFS partitions
};

/// The first drives map of those that were found, as it is; otherwise the map that follows from the registry
/// that was written last.
Decision decide(const Survey& survey);
