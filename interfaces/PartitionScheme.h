#pragma once

#include <QString>

/// UDisks 1's name of a kind of partition table ("mbr", "gpt", "apm") from the name that libblkid and udev
/// have for it ("dos", "gpt", "mac"). Other names, the empty one included, stay as they are.
QString partitionScheme(const QString& tableType);
