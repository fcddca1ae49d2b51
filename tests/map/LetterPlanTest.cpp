#include <gmock/gmock.h>

#include "map/LetterPlan.h"
#include "tests/map/Volumes.h"

using namespace Volumes;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// "C: /dev/sda1" or "C: why nobody gets it" for each letter.
std::vector<std::string> planOf(const std::vector<Volume>& volumes,
                                const std::vector<RememberedDrive>& drives)
{
    std::vector<std::string> result;
    for (const PlannedLetter& planned : planLetters(volumes, drives)) {
        const QString what =
            planned.volume < 0 ? planned.reason : volumes[static_cast<std::size_t>(planned.volume)].node;
        result.push_back(std::string{planned.letter, ':', ' '} + what.toStdString());
    }
    return result;
}

TEST(LetterPlan, FindsPartitionsOfAnMbrBySignatureAndOffset)
{
    const std::vector<Volume> volumes{onMbr("sda1", 0x1234ABCD, 1 << 20), onMbr("sda5", 0x1234ABCD, 1 << 30),
                                      onMbr("sdb1", 0x00000001, 1 << 20)};
    EXPECT_THAT(planOf(volumes, {mbr('C', 0x1234ABCD, 1 << 30), mbr('D', 1, 1 << 20)}),
                ElementsAre("C: /dev/sda5", "D: /dev/sdb1"));
}

TEST(LetterPlan, FindsPartitionsOfAGptByTheirGuid)
{
    const std::vector<Volume> volumes{onGpt("nvme0n1p3", "0123abcd-1122-3344-5566-778899aabbcc"),
                                      onGpt("nvme0n1p4", "0123abcd-1122-3344-5566-778899aabbcd")};
    EXPECT_THAT(planOf(volumes, {gpt('C', "0123ABCD-1122-3344-5566-778899AABBCC")}),
                ElementsAre("C: /dev/nvme0n1p3"));
}

struct NobodyRow
{
    const char* story;
    RememberedDrive drive;
    const char* reason;
};

TEST(LetterPlan, KeepsTheLetterOfWhatIsNotHere)
{
    Volume external = onMbr("sdc1", 0xE0E0E0E0, 1 << 20);
    external.isInternal = false;
    Volume linux = onMbr("sdd1", 0xD0D0D0D0, 1 << 20);
    linux.type = QStringLiteral("ext4");
    const std::vector<Volume> volumes{onMbr("sda1", 0x1234ABCD, 1 << 20), onMbr("sdb1", 0, 1 << 20), external,
                                      linux, onGpt("sde1", "")};
    for (const NobodyRow& row : {
             NobodyRow{"a disk that is gone", mbr('D', 0x99999999, 1 << 20), "no such partition here"},
             {"another offset", mbr('D', 0x1234ABCD, 1 << 21), "no such partition here"},
             {"a disk without a signature", mbr('D', 0, 1 << 20), "no such partition here"},
             {"a disk whose table is gone", gpt('D', "00000000-0000-0000-0000-000000000000"),
              "no such partition here"},
             {"a volume of dynamic disks", gpt('D', "8a5f2c11-0000-11e9-9c1d-806e6f6e6963"),
              "no such partition here"},
             {"an optical drive", {'D', "\\\0?\0?\0\\\0S\0"}, "not a partition of a disk"},
             {"no bytes", {'D', ""}, "not a partition of a disk"},
             {"eleven bytes", {'D', std::string(11, 'x')}, "not a partition of a disk"},
             {"seventeen bytes for a GUID",
              {'D', gpt('D', "0123abcd-1122-3344-5566-778899aabbcc").data + "x"},
              "not a partition of a disk"},
             {"another prefix", {'D', "DMIO:IX:" + std::string(16, 'x')}, "not a partition of a disk"},
             {"an external drive", mbr('D', 0xE0E0E0E0, 1 << 20), "/dev/sdc1 is an external drive"},
             {"a Linux", mbr('D', 0xD0D0D0D0, 1 << 20), "/dev/sdd1 is neither NTFS nor FAT"},
         }) {
        EXPECT_THAT(planOf(volumes, {row.drive}), ElementsAre(std::string("D: ") + row.reason)) << row.story;
    }
}

TEST(LetterPlan, LeavesClonedDisksOut)
{
    Volume clone = onMbr("sdb1", 0x22222222, 1 << 20);
    const std::vector<Volume> volumes{onMbr("sda1", 0x11111111, 1 << 20), withSerialOf(clone, "sda1"),
                                      onMbr("sda2", 0x11111111, 2 << 20)};
    EXPECT_THAT(planOf(volumes, {mbr('C', 0x11111111, 1 << 20), mbr('D', 0x22222222, 1 << 20),
                                 mbr('E', 0x11111111, 2 << 20)}),
                ElementsAre("C: /dev/sda1 and /dev/sdb1 have the same volume id",
                            "D: /dev/sda1 and /dev/sdb1 have the same volume id", "E: /dev/sda2"));
}

TEST(LetterPlan, LeavesAnAmbiguousPlaceOut)
{
    EXPECT_THAT(planOf({onMbr("sda1", 7, 512), onMbr("sdb1", 7, 512)}, {mbr('C', 7, 512)}),
                ElementsAre("C: /dev/sda1 and /dev/sdb1 are at the same place"));
}

TEST(LetterPlan, IsSortedByLetterAndMayNameAPartitionTwice)
{
    EXPECT_THAT(planOf({onMbr("sda1", 7, 512)}, {mbr('K', 7, 512), mbr('C', 7, 512)}),
                ElementsAre("C: /dev/sda1", "K: /dev/sda1"));
    EXPECT_THAT(planOf({onMbr("sda1", 7, 512)}, {}), IsEmpty());
}

TEST(LetterPlan, GivesNoLetterThatIsGivenAwayBeforeTheServiceReadsTheMap)
{
    Volume linux = onMbr("sda1", 7, 512);
    linux.type = QStringLiteral("ext4");
    Volume swap = linux;
    swap.isFileSystem = false;
    Volume broken = onMbr("sda2", 7, 1024);
    broken.isReadable = false;
    const Volume windows = onMbr("sda3", 7, 2048);
    const Volume data = onMbr("sda4", 7, 4096);
    const std::vector<RememberedDrive> drives{mbr('C', 7, 2048), mbr('D', 7, 4096)};
    const auto both = ElementsAre("C: /dev/sda3", "D: /dev/sda4");
    EXPECT_THAT(planOf({windows, linux, data}, drives), both);
    EXPECT_THAT(planOf({swap, windows, data}, drives), both);
    EXPECT_THAT(planOf({linux, windows, data}, drives),
                ElementsAre("C: a partition before /dev/sda3 may get it", "D: /dev/sda4"));
    EXPECT_THAT(planOf({broken, linux, windows, data}, drives),
                ElementsAre("C: a partition before /dev/sda3 may get it", "D: /dev/sda4"))
        << "the service may not come to read the map for a partition that it cannot mount";
    EXPECT_THAT(planOf({linux, linux, data, windows}, drives),
                ElementsAre("C: a partition before /dev/sda3 may get it",
                            "D: a partition before /dev/sda4 may get it"));
}

} // namespace
