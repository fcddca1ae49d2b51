#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QVariantMap>

/// The file that describes a simulated machine is wrong; what() is one line with the file, the section and
/// the key.
class MachineFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One device of a simulated machine, as its file describes it.
struct MachineSection
{
    QString name;
    QString node;      ///< path below /dev
    std::string image; ///< empty: no block device stands behind
    bool isInternal = false;
    bool isPartition = false;
    bool isPlugged = true;  ///< from the start
    quint64 attributes = 0; ///< of its entry in a GPT partition table
    QVariantMap properties; ///< what is given, in the type that is given
    QSet<QString> missing;
};

/// The file that describes a simulated machine.
///
///     ; a comment
///     [stick]
///     Image = stick.img
///     Node = sdb1
///     IdLabel = MY%20STICK
///     DeviceMajor:u = 8
///     IdUuid:missing =
///
/// Keys are Image (relative to the file's directory), Node (by default the section's name), Internal (false),
/// Partition (by default what the node's name says), Plugged (true), PartitionAttributes (the bits of a GPT
/// partition's entry, in hexadecimal), and every property of the device interface. A property's key may name
/// another type than its own behind a colon, or "missing".
namespace MachineFile {

/// The sections in the order of the file. Throws MachineFileError.
std::vector<MachineSection> read(const std::string& file);

/// The same from the file's text; `file` is what errors call it and where images are looked for.
std::vector<MachineSection> parse(const QByteArray& text, const std::string& file);

/// Applies one property to a section, written as in the file. Throws MachineFileError with the key and the
/// reason.
void setProperty(MachineSection& section, const QString& key, const QByteArray& value);

} // namespace MachineFile
