#include "provider/machine/MachineFile.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include <QFile>
#include <QHash>

#include "interfaces/InterfaceDescription.h"
#include "interfaces/PropertyValue.h"
#include "provider/machine/NodeName.h"

namespace MachineFile {
namespace {

[[noreturn]] void refuse(const QString& key, const QString& reason)
{
    throw MachineFileError(QStringLiteral("%1: %2").arg(key, reason).toStdString());
}

QVariant valueOf(const QString& key, const QString& type, const QByteArray& text)
{
    if (!PropertyValue::isKnownType(type)) {
        refuse(key, QStringLiteral("there is no type \"%1\"").arg(type));
    }
    const std::optional<QVariant> value = PropertyValue::parse(type, text);
    if (!value) {
        refuse(key,
               QStringLiteral("\"%1\" is not a value of type \"%2\"").arg(QString::fromUtf8(text), type));
    }
    return *value;
}

quint64 bitsOf(const QString& key, const QByteArray& text)
{
    constexpr int Hexadecimal = 16;
    bool isNumber = false;
    const quint64 bits = text.toULongLong(&isNumber, Hexadecimal);
    if (!isNumber) {
        refuse(key, QStringLiteral("\"%1\" is not a hexadecimal number").arg(QString::fromUtf8(text)));
    }
    return bits;
}

bool isNodeName(const QString& node)
{
    const QStringList parts = node.split(QLatin1Char('/'));
    return std::none_of(parts.begin(), parts.end(), [](const QString& part) {
        return part.isEmpty() || part == QLatin1String(".") || part == QLatin1String("..");
    });
}

/// The file's text, line by line.
class Parser
{
public:
    explicit Parser(const std::string& file)
        : _file(file)
    {
    }

    std::vector<MachineSection> parse(const QByteArray& text)
    {
        for (const QByteArray& line : text.split('\n')) {
            ++_line;
            readLine(line.trimmed());
        }
        endSection();
        return std::move(_sections);
    }

private:
    void readLine(const QByteArray& line)
    {
        if (line.isEmpty() || line.startsWith(';') || line.startsWith('#')) {
            return;
        }
        if (line.startsWith('[')) {
            endSection();
            beginSection(line);
        } else {
            readEntry(line);
        }
    }

    void beginSection(const QByteArray& line)
    {
        MachineSection section;
        section.name = QString::fromUtf8(line.mid(1, line.size() - 2).trimmed());
        if (!line.endsWith(']') || section.name.isEmpty()) {
            fail(QStringLiteral("a section is written [name]"));
        }
        const bool isKnown =
            std::any_of(_sections.begin(), _sections.end(),
                        [&](const MachineSection& other) { return other.name == section.name; });
        _sections.push_back(section);
        if (isKnown) {
            fail(QStringLiteral("the second section of this name"));
        }
    }

    void readEntry(const QByteArray& line)
    {
        const int separator = line.indexOf('=');
        if (separator < 1) {
            fail(QStringLiteral("neither [name] nor Key = value: %1").arg(QString::fromUtf8(line)));
        }
        const QString key = QString::fromUtf8(line.left(separator).trimmed());
        if (_sections.empty()) {
            fail(QStringLiteral("%1: stands before the first section").arg(key));
        }
        if (_keys.contains(key)) {
            fail(QStringLiteral("%1: stands here twice").arg(key));
        }
        _keys.insert(key);
        try {
            apply(key, line.mid(separator + 1).trimmed());
        } catch (const MachineFileError& error) {
            fail(QString::fromUtf8(error.what()));
        }
    }

    void apply(const QString& key, const QByteArray& value)
    {
        MachineSection& section = _sections.back();
        const QHash<QString, bool*> flags{
            {QStringLiteral("Internal"), &section.isInternal},
            {QStringLiteral("Partition"), &section.isPartition},
            {QStringLiteral("Plugged"), &section.isPlugged},
        };
        if (bool* const flag = flags.value(key)) {
            *flag = valueOf(key, QStringLiteral("b"), value).toBool();
        } else if (key == QLatin1String("Image")) {
            section.image = imagePath(valueOf(key, QStringLiteral("s"), value).toString());
        } else if (key == QLatin1String("Node")) {
            section.node = valueOf(key, QStringLiteral("s"), value).toString();
        } else if (key == QLatin1String("PartitionAttributes")) {
            section.attributes = bitsOf(key, value);
        } else {
            setProperty(section, key, value);
        }
    }

    std::string imagePath(const QString& image) const
    {
        return std::filesystem::path(_file).parent_path() / image.toStdString();
    }

    /// Fills in what the section leaves to be derived from the rest of it.
    void endSection()
    {
        if (_sections.empty()) {
            return;
        }
        MachineSection& section = _sections.back();
        if (!_keys.contains(QStringLiteral("Node"))) {
            section.node = section.name;
        }
        if (!_keys.contains(QStringLiteral("Partition"))) {
            section.isPartition = NodeName(section.node).isPartition();
        }
        checkNode(section);
        _keys.clear();
    }

    void checkNode(const MachineSection& section) const
    {
        if (!isNodeName(section.node)) {
            fail(QStringLiteral("Node: \"%1\" is not a name below /dev").arg(section.node));
        }
        for (auto other = _sections.begin(); other != _sections.end() - 1; ++other) {
            if (other->node == section.node && other->isPlugged && section.isPlugged) {
                fail(QStringLiteral("Node: \"%1\" is that of [%2] already").arg(section.node, other->name));
            }
        }
    }

    [[noreturn]] void fail(const QString& reason) const
    {
        std::ostringstream text;
        text << _file << ":" << _line << ": ";
        if (!_sections.empty()) {
            text << "[" << _sections.back().name.toStdString() << "] ";
        }
        throw MachineFileError(text.str() + reason.toStdString());
    }

    std::string _file;
    int _line = 0;
    std::vector<MachineSection> _sections;
    QSet<QString> _keys; ///< of the last section
};

} // namespace

std::vector<MachineSection> read(const std::string& file)
{
    QFile content(QString::fromStdString(file));
    if (!content.open(QIODevice::ReadOnly)) {
        throw MachineFileError(file + ": " + content.errorString().toStdString());
    }
    return parse(content.readAll(), file);
}

std::vector<MachineSection> parse(const QByteArray& text, const std::string& file)
{
    return Parser(file).parse(text);
}

void setProperty(MachineSection& section, const QString& key, const QByteArray& value)
{
    const QString name = key.section(QLatin1Char(':'), 0, 0);
    const QMap<QString, QString>& known = InterfaceDescription::device().properties();
    if (!known.contains(name)) {
        refuse(key, QStringLiteral("there is no such key and no such property"));
    }
    const QString type = key.contains(QLatin1Char(':')) ? key.section(QLatin1Char(':'), 1) : known[name];
    if (type == QLatin1String("missing")) {
        section.missing.insert(name);
        return;
    }
    section.properties.insert(name, valueOf(key, type, value));
    section.missing.remove(name);
}

} // namespace MachineFile
