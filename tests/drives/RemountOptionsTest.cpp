#include <gmock/gmock.h>

#include "drives/RemountOptions.h"

namespace {

struct KernelRow
{
    const char* options;
    unsigned long flags;
    const char* data;
};

TEST(RemountOptions, TurnsOptionsIntoKernelFlagsAndData)
{
    for (const KernelRow& row : {KernelRow{"", 0xC0ED0020, ""},
                                 {"rw", 0xC0ED0020, "-orw"},
                                 {"ro", 0xC0ED0021, "-oauto"},
                                 {"errors=remount-ro", 0xC0ED0021, "-oerautors=remount-auto"},
                                 {"dirsync,ro", 0xC0ED0021, "-odirsync,auto"},
                                 {"ROOT", 0xC0ED0020, "-oROOT"}}) {
        const QString argument = RemountOptions::optionArgument(QString::fromLatin1(row.options));
        const auto remount = RemountOptions::kernelRemount(argument);
        EXPECT_EQ(remount.flags, row.flags) << row.options;
        EXPECT_EQ(remount.data, QString::fromLatin1(row.data)) << row.options;
    }
}

struct NtfsRow
{
    const char* options;
    bool wantsRepair;
    const char* driver;
};

TEST(RemountOptions, ChoosesRepairAndDriverByWordsInTheOptions)
{
    for (const NtfsRow& row : {NtfsRow{"", false, "ntfs-3g"},
                               {"ro", false, "ntfs-3g"},
                               {"remove_hiberfile", true, "ntfs-3g"},
                               {"hiberfile,remove,ignore,case", false, "ntfs-3g"},
                               {"ignore_case", false, "lowntfs-3g"},
                               {"ignore_case,remove_hiberfile", true, "lowntfs-3g"},
                               {"IGNORE_CASE", false, "ntfs-3g"}}) {
        const QString options = QString::fromLatin1(row.options);
        EXPECT_EQ(RemountOptions::wantsRepair(options), row.wantsRepair) << row.options;
        EXPECT_EQ(RemountOptions::ntfsDriver(options), QString::fromLatin1(row.driver)) << row.options;
    }
}

TEST(RemountOptions, NamesPathAndOptionsWhateverTheyHold)
{
    EXPECT_EQ(RemountOptions::done(QStringLiteral("/media/%2"), QStringLiteral("%1,ro")),
              QStringLiteral("DONE remount: [/media/%2] with options: [%1,ro]"));
}

} // namespace
