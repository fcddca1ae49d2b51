#include "map/DriveAddress.h"

#include <QUuid>
#include <QtEndian>

#include "map/Volume.h"

namespace {

constexpr std::size_t MbrSize = 12;
constexpr std::size_t SignatureSize = 4;
constexpr std::size_t GuidSize = 16;

const std::string GptPrefix = "DMIO:ID:";

/// The first three fields of a GUID are little-endian.
QString guidOf(const char* bytes)
{
    QByteArray rest(bytes + 8, 8);
    QUuid guid;
    guid.data1 = qFromLittleEndian<quint32>(bytes);
    guid.data2 = qFromLittleEndian<quint16>(bytes + 4);
    guid.data3 = qFromLittleEndian<quint16>(bytes + 6);
    std::copy(rest.begin(), rest.end(), guid.data4);
    return guid.toString(QUuid::WithoutBraces);
}

} // namespace

DriveAddress DriveAddress::of(const std::string& data)
{
    DriveAddress address;
    if (data.size() == MbrSize) {
        address.kind = Kind::Mbr;
        address.signature = qFromLittleEndian<quint32>(data.data());
        address.offset = qFromLittleEndian<quint64>(data.data() + SignatureSize);
    } else if (data.size() == GptPrefix.size() + GuidSize &&
               data.compare(0, GptPrefix.size(), GptPrefix) == 0) {
        address.kind = Kind::Gpt;
        address.uuid = guidOf(data.data() + GptPrefix.size());
    }
    return address;
}

bool DriveAddress::isOf(const Volume& volume) const
{
    switch (kind) {
    case Kind::Mbr:
        return signature != 0 && signature == volume.diskSignature && offset == volume.offset;
    case Kind::Gpt:
        return uuid == volume.partitionUuid;
    case Kind::Other:
        break;
    }
    return false;
}
