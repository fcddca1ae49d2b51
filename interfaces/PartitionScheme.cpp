#include "interfaces/PartitionScheme.h"

#include <QHash>

QString partitionScheme(const QString& tableType)
{
    static const QHash<QString, QString> names{
        {QStringLiteral("dos"), QStringLiteral("mbr")},
        {QStringLiteral("mac"), QStringLiteral("apm")},
    };
    return names.value(tableType, tableType);
}
