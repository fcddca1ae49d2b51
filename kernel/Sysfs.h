#pragma once

#include <string>

#include <QByteArray>
#include <QByteArrayList>
#include <QtGlobal>

/// The kernel's view of its devices. A device is named by its path below sysfs: "/devices/.../block/sda".
/// A value that cannot be read is empty.
class Sysfs
{
public:
    explicit Sysfs(std::string root = "/sys");

    bool exists(const QByteArray& path) const;
    /// The text of an attribute, without its line feed.
    QByteArray value(const QByteArray& device, const char* attribute) const;
    /// The decimal number that an attribute holds.
    qulonglong number(const QByteArray& device, const char* attribute, qulonglong otherwise = 0) const;
    /// The names in a directory of the device, sorted.
    QByteArrayList names(const QByteArray& device, const char* directory) const;
    /// The device that a link leads to.
    QByteArray target(const QByteArray& link) const;

private:
    std::string _root;
};
