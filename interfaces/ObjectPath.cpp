#include "interfaces/ObjectPath.h"

namespace ObjectPath {
namespace {

bool isPlain(char byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9');
}

} // namespace

QString ofDevice(const QByteArray& kernelName)
{
    QByteArray escaped;
    for (const char byte : kernelName) {
        escaped += isPlain(byte) ? QByteArray(1, byte) : '_' + QByteArray(1, byte).toHex();
    }
    return Devices + QLatin1Char('/') + QString::fromLatin1(escaped);
}

} // namespace ObjectPath
