#include <gmock/gmock.h>

#include "provider/machine/MachineFile.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

std::string errorOf(const QByteArray& text)
{
    try {
        MachineFile::parse(text, "dir/machine.ini");
    } catch (const MachineFileError& error) {
        return error.what();
    }
    return "no error";
}

MachineSection only(const QByteArray& text)
{
    const std::vector<MachineSection> sections = MachineFile::parse(text, "dir/machine.ini");
    return sections.size() == 1 ? sections.front() : MachineSection();
}

} // namespace

TEST(MachineFileTest, KeepsTheOrderOfTheFile)
{
    std::vector<std::string> names;
    for (const MachineSection& section : MachineFile::parse("[sdb1]\n[stick]\nNode=sdc1\n[sda1]\n", "m")) {
        names.push_back(section.name.toStdString());
    }
    EXPECT_THAT(names, testing::ElementsAre("sdb1", "stick", "sda1"));
}

TEST(MachineFileTest, DerivesWhatASectionLeavesOut)
{
    const MachineSection section = only("[sda1]");
    EXPECT_EQ(section.node.toStdString(), "sda1");
    EXPECT_EQ(section.image, "");
    EXPECT_FALSE(section.isInternal);
    EXPECT_TRUE(section.isPartition);
    EXPECT_TRUE(section.isPlugged);
    EXPECT_FALSE(only("[sda]").isPartition);
}

TEST(MachineFileTest, ReadsTheKeysOfASection)
{
    const MachineSection section =
        only("\n; a comment\n# another\r\n  [ my stick ]  \r\n Image = a b.img \n"
             "Partition = true\nNode=mapper/vg-lv\nInternal=true\nPlugged=false\n"
             "IdLabel = x = %20y%0Az\nDeviceMajor:u = 8\nIdUuid:missing =\n"
             "PartitionFlags = boot, required\nPartitionAttributes = 0xC000000000000001\n");
    EXPECT_EQ(section.name.toStdString(), "my stick");
    EXPECT_EQ(section.image, "dir/a b.img");
    EXPECT_EQ(section.node.toStdString(), "mapper/vg-lv");
    EXPECT_TRUE(section.isPartition);
    EXPECT_TRUE(section.isInternal);
    EXPECT_FALSE(section.isPlugged);
    EXPECT_EQ(section.properties[QStringLiteral("IdLabel")], QVariant(QStringLiteral("x =  y\nz")));
    EXPECT_EQ(section.properties[QStringLiteral("DeviceMajor")].userType(), QMetaType::UInt);
    EXPECT_EQ(section.properties[QStringLiteral("PartitionFlags")].toStringList().size(), 2);
    EXPECT_EQ(section.attributes, 0xC000000000000001U);
    EXPECT_EQ(section.missing, QSet<QString>({QStringLiteral("IdUuid")}));
}

TEST(MachineFileTest, TakesAnAbsoluteImagePathAsItIs)
{
    EXPECT_EQ(only("[sda1]\nImage=/images/a.img").image, "/images/a.img");
}

TEST(MachineFileTest, LetsANodeBeUsedTwiceIfOnlyOneIsPluggedIn)
{
    EXPECT_EQ(MachineFile::parse("[a]\nNode=sdb1\n[b]\nNode=sdb1\nPlugged=false\n", "m").size(), 2U);
}

TEST(MachineFileTest, LetsANodeBeUsedTwiceWhicheverIsPluggedIn)
{
    EXPECT_EQ(MachineFile::parse("[a]\nNode=sdb1\nPlugged=false\n[b]\nNode=sdb1\n", "m").size(), 2U);
}

TEST(MachineFileTest, GivesAMissingPropertyBackWithItsValue)
{
    MachineSection section = only("[a]\nIdUuid:missing=");
    MachineFile::setProperty(section, QStringLiteral("IdUuid"), "1-2");
    EXPECT_TRUE(section.missing.isEmpty());
    EXPECT_EQ(section.properties[QStringLiteral("IdUuid")], QVariant(QStringLiteral("1-2")));
}

TEST(MachineFileTest, IsAnEmptyMachineWithoutSections)
{
    EXPECT_TRUE(MachineFile::parse("; nothing\n", "m").empty());
}

TEST(MachineFileTest, NamesTheFileTheLineTheSectionAndTheKeyOfAnError)
{
    const struct
    {
        const char* text;
        const char* error;
    } table[] = {
        {"Image=a", "1: Image: stands before the first section"},
        {"[sda1", "1: a section is written [name]"},
        {"[]", "1: a section is written [name]"},
        {"[ ]", "1: a section is written [name]"},
        {"[a]\n[b]\n[a]", "3: [a] the second section of this name"},
        {"[a]\nImage", "2: [a] neither [name] nor Key = value: Image"},
        {"[a]\n= b", "2: [a] neither [name] nor Key = value: = b"},
        {"[a]\n\nInternal = yes", "3: [a] Internal: \"yes\" is not a value of type \"b\""},
        {"[a]\nPartition =", "2: [a] Partition: \"\" is not a value of type \"b\""},
        {"[a]\nPlugged=1", "2: [a] Plugged: \"1\" is not a value of type \"b\""},
        {"[a]\nImage=50%", "2: [a] Image: \"50%\" is not a value of type \"s\""},
        {"[a]\nPartitionAttributes=bit 63",
         "2: [a] PartitionAttributes: \"bit 63\" is not a hexadecimal number"},
        {"[a]\nPartitionAttributes=10000000000000000",
         "2: [a] PartitionAttributes: \"10000000000000000\" is not a hexadecimal number"},
        {"[a]\nPartitionAttributes=", "2: [a] PartitionAttributes: \"\" is not a hexadecimal number"},
        {"[a]\nimage=x", "2: [a] image: there is no such key and no such property"},
        {"[a]\nIdLabl=x", "2: [a] IdLabl: there is no such key and no such property"},
        {"[a]\nImage:s=x", "2: [a] Image:s: there is no such key and no such property"},
        {"[a]\nIdLabel=x\nIdLabel=y", "3: [a] IdLabel: stands here twice"},
        {"[a]\nDeviceMajor=eight", "2: [a] DeviceMajor: \"eight\" is not a value of type \"x\""},
        {"[a]\nDeviceMajor:z=8", "2: [a] DeviceMajor:z: there is no type \"z\""},
        {"[a]\nDeviceMajor:=8", "2: [a] DeviceMajor:: there is no type \"\""},
        {"[a]\nNode=\n[b]", "3: [a] Node: \"\" is not a name below /dev"},
        {"[a]\nNode=../sda", "2: [a] Node: \"../sda\" is not a name below /dev"},
        {"[a]\nNode=/sda", "2: [a] Node: \"/sda\" is not a name below /dev"},
        {"[a]\nNode=x/./y", "2: [a] Node: \"x/./y\" is not a name below /dev"},
        {"[..]", "1: [..] Node: \"..\" is not a name below /dev"},
        {"[a]\nNode=sdb1\n[b]\nNode=sdb1", "4: [b] Node: \"sdb1\" is that of [a] already"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(errorOf(row.text), std::string("dir/machine.ini:") + row.error) << row.text;
    }
}

TEST(MachineFileTest, SaysThatAFileCannotBeRead)
{
    const TemporaryDirectory directory;
    const auto errorOfReading = [](const std::string& file) -> std::string {
        try {
            MachineFile::read(file);
        } catch (const MachineFileError& error) {
            return error.what();
        }
        return "no error";
    };
    EXPECT_EQ(errorOfReading(directory.path() + "/none.ini"),
              directory.path() + "/none.ini: No such file or directory");
    EXPECT_EQ(errorOfReading(directory.path()), directory.path() + ": file to open is a directory");
}
