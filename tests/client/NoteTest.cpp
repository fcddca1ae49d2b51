#include "client/notes/Note.h"

#include <regex>

#include <gmock/gmock.h>

#include "tests/support/Files.h"

namespace {

using Presentation = DriveFacts::Presentation;
using Stage = ServiceState::Stage;
using testing::UnorderedElementsAreArray;

/// An internal NTFS partition that Windows gives a letter to; the service runs.
DriveFacts partition()
{
    DriveFacts drive;
    drive.node = "/dev/sda2";
    drive.isPartition = true;
    drive.isIdentified = true;
    drive.usage = "filesystem";
    drive.type = "ntfs";
    drive.presentation = Presentation::Internal;
    drive.place = "/mnt/sda2";
    drive.service = Stage::Ready;
    return drive;
}

DriveFacts at(const char* directory, DriveFacts drive = partition())
{
    drive.directory = directory;
    return drive;
}

DriveFacts readOnly(DriveFacts drive = at("/media/C:"))
{
    drive.isReadOnly = true;
    return drive;
}

DriveFacts probed(int status, DriveFacts drive)
{
    drive.ntfs = status;
    return drive;
}

DriveFacts holding(const char* usage, const char* type, DriveFacts drive = partition())
{
    drive.usage = usage;
    drive.type = type;
    return drive;
}

DriveFacts external(DriveFacts drive)
{
    drive.presentation = Presentation::External;
    drive.place = "/media/STICK";
    return drive;
}

template<typename Value>
DriveFacts with(Value DriveFacts::*fact, const Value& value, DriveFacts drive = partition())
{
    drive.*fact = value;
    return drive;
}

DriveFacts whole(DriveFacts drive = partition())
{
    return with(&DriveFacts::isPartition, false, drive);
}

DriveFacts writeProtected(DriveFacts drive)
{
    return with(&DriveFacts::isWriteProtected, true, drive);
}

DriveFacts withoutLetter(DriveFacts drive)
{
    return with(&DriveFacts::getsLetter, false, drive);
}

struct Row
{
    DriveFacts drive;
    std::string word;
    std::string reason;
    std::string remedy;
    bool isTrouble;
};

const std::string ByItself = "mount /dev/sda2 DIRECTORY mounts it.";
const std::string Restart = "systemctl restart vrmountdrives";

std::vector<Row> mountedRows()
{
    const DriveFacts ext4 = holding("filesystem", "ext4", readOnly());
    return {
        {with(&DriveFacts::isDead, true, at("/media/C:")), "dead",
         "its driver has ended, and nothing on it can be reached",
         "umount -l /media/C: takes the dead mount away; then mount /dev/sda2 again.", true},
        {with(&DriveFacts::isLate, true, at("/media/C:")), "no-answer",
         "its disk or its driver does not answer", "See what the kernel says of it: dmesg | tail.", true},
        {with(&DriveFacts::coveredBy, std::string("/dev/sdc1"), at("/media/DATA")), "hidden",
         "hidden by /dev/sdc1, which is mounted over it", "umount /media/DATA takes away what lies on top.",
         true},
        {writeProtected(readOnly()), "write-protected", "read-only: the disk is write-protected",
         "blockdev --setrw /dev/sda2; vrmountctl remount /media/C: makes it writable where the disk permits "
         "it.",
         true},
        {external(writeProtected(readOnly())), "write-protected", "read-only: the disk is write-protected",
         "Set the switch of the medium to writable, and plug it in again.", true},
        {probed(14, readOnly()), "hibernated", "read-only: Windows is hibernated",
         "vrmountctl remount /media/C: remove_hiberfile makes it writable; the sleeping session is lost.",
         true},
        {external(probed(14, readOnly())), "hibernated", "read-only: Windows is hibernated",
         "umount /media/C:; ntfs-3g -o remove_hiberfile /dev/sda2 /media/C: makes it writable; the sleeping "
         "session is lost.",
         true},
        {probed(15, readOnly()), "unclean", "read-only: it was not cleanly unmounted",
         "vrmountctl remount /media/C: remove_hiberfile resets its journal and makes it writable.", true},
        {external(probed(15, readOnly())), "unclean", "read-only: it was not cleanly unmounted",
         "umount /media/C:; ntfsfix /dev/sda2 resets its journal; then plug it in again.", true},
        {probed(13, readOnly()), "damaged", "read-only: its file system is damaged",
         "Save its files first; chkdsk of Windows repairs it, and ntfsfix /dev/sda2 the worst.", true},
        {probed(0, readOnly()), "requested", "read-only: somebody asked for it",
         "vrmountctl remount /media/C: makes it writable.", false},
        {external(probed(0, readOnly())), "requested", "read-only: somebody asked for it",
         "umount /media/C:; ntfs-3g /dev/sda2 /media/C: makes it writable.", false},
        {ext4, "requested", "read-only: somebody asked for it",
         "vrmountctl remount /media/C: makes it writable.", false},
        {external(ext4), "requested", "read-only: somebody asked for it",
         "mount -o remount,rw /media/C: makes it writable.", false},
        {with(&DriveFacts::isTemporaryRootShared, true, at("/mnt/sda2")), "shared-mount",
         "without a letter: /mnt is a shared mount",
         Restart + " makes it a private one, out of which drives can be moved.", true},
        {withoutLetter(at("/mnt/sda2")), "windows-hidden", "without a letter: Windows gives it none",
         "Its files are in /mnt/sda2.", false},
        {with(&DriveFacts::isLater, true, at("/mnt/sda2")), "appeared-later",
         "without a letter: its disk appeared after the start", Restart + " gives it one.", false},
        {at("/mnt/sda2"), "no-letter", "without a letter: none could be given",
         "Compare the drives map with drives.ini(5); then " + Restart + ".", true},
    };
}

std::vector<Row> contentRows()
{
    const std::string nothing = "There is nothing on it to mount.";
    return {
        {with(&DriveFacts::isRescueMedium, true), "rescue-medium", "spared: the rescue system runs from it",
         "Leave it as it is.", false},
        {with(&DriveFacts::elsewhere, std::string("/home")), "elsewhere",
         "mounted at /home, not by the service", "Use it there.", false},
        {with(&DriveFacts::isLate, true), "no-answer", "it does not answer",
         "See what the kernel says of it: dmesg | tail.", true},
        {holding("crypto", "BitLocker"), "bitlocker", "encrypted by BitLocker",
         "cryptsetup open --type bitlk /dev/sda2 unlocked; then mount /dev/mapper/unlocked.", false},
        {holding("crypto", "crypto_LUKS"), "luks", "encrypted by LUKS",
         "cryptsetup open /dev/sda2 unlocked; then mount /dev/mapper/unlocked.", false},
        {holding("crypto", "cs_fvault2"), "encrypted", "encrypted (cs_fvault2)",
         "Unlock it with the system that made it.", false},
        {holding("raid", "LVM2_member"), "lvm", "a part of an LVM volume group",
         "vgchange --activate y; then mount its volumes below /dev/mapper.", false},
        {holding("raid", "linux_raid_member"), "md", "a part of an MD array",
         "mdadm --assemble --scan; then mount the array.", false},
        {holding("filesystem", "zfs_member"), "pool", "a part of a storage pool (zfs_member)",
         "Import the pool with its own tools, such as zpool.", false},
        {with(&DriveFacts::partitionType, std::string("E75CAF8F-F680-4CEE-AFA3-B001E56EFC2D"),
              holding("", "")),
         "pool", "a part of a storage pool of Windows", "Only Windows itself puts it together.", false},
        {holding("raid", "isw_raid_member"), "raid", "a part of a RAID (isw_raid_member)",
         "mdadm --assemble --scan; then mount the array.", false},
        {holding("other", "swap"), "swap", "swap space, not a file system", nothing, false},
        {withoutLetter(holding("", "")), "windows-hidden", "Windows gives it no letter and no file system",
         nothing, false},
        {holding("", ""), "no-file-system", "not a file system: nothing known was found on it",
         "testdisk looks for lost partitions and files.", false},
        {holding("other", "jbd"), "no-file-system", "not a file system (jbd)", nothing, false},
    };
}

std::vector<Row> unmountedRows()
{
    const DriveFacts noDriver = with(&DriveFacts::hasDriver, false);
    const DriveFacts ext4 = holding("filesystem", "ext4");
    const DriveFacts stick = external(ext4);
    return {
        {noDriver, "no-driver", "ntfs-3g is not installed", "Install ntfs-3g; then " + Restart + ".", true},
        {holding("filesystem", "hfsplus", noDriver), "no-driver", "this kernel has no driver for hfsplus",
         "Install its module or a driver in user space, and mount it with that.", true},
        {writeProtected(ext4), "read-only-medium", "the medium is read-only, and ext4 is not tried so",
         "mount -o ro /dev/sda2 DIRECTORY mounts it.", true},
        {probed(13, partition()), "damaged", "its file system is damaged",
         "chkdsk of Windows repairs it; ntfsfix /dev/sda2 repairs the worst.", true},
        {with(&DriveFacts::service, Stage::Absent), "no-service", "the service does not run",
         "systemctl start vrmountdrives mounts it.", false},
        {with(&DriveFacts::service, Stage::Arranging), "arranging", "the service still arranges the drives",
         "Wait a moment.", false},
        {with(&DriveFacts::presentation, Presentation::None), "not-offered",
         "vrudisks does not offer it to the service", "vrudisks --explain /dev/sda2 says why.", false},
        {withoutLetter(partition()), "windows-hidden", "Windows gives it no letter", ByItself, false},
        {with(&DriveFacts::placeTakenBy, std::string("/dev/sdc1"), stick), "directory-in-use",
         "its directory /media/STICK is in use by /dev/sdc1", "umount /media/STICK; then plug it in again.",
         true},
        {whole(stick), "no-partition-table", "without a partition table, and there at the start",
         "Plug it in again.", false},
        {whole(), "no-partition-table", "without a partition table, and there at the start", ByItself, false},
        {partition(), "not-mounted", "unmounted by hand, or not mountable",
         "mount /dev/sda2 DIRECTORY says why.", true},
        {stick, "not-mounted", "unmounted, or not mountable",
         "Pull it, or plug it in again; mount /dev/sda2 DIRECTORY says why if it does not mount.", false},
    };
}

std::vector<Row> allRows()
{
    std::vector<Row> rows = mountedRows();
    for (const std::vector<Row>& more : {contentRows(), unmountedRows()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

std::string wordOn(const DriveFacts& drive)
{
    const std::optional<Note> note = Notes::on(drive);
    return note ? note->word : "nothing";
}

TEST(NoteTest, HasAReasonAndARemedyForEachState)
{
    for (const Row& row : allRows()) {
        const std::optional<Note> note = Notes::on(row.drive);
        ASSERT_TRUE(note) << row.word;
        EXPECT_EQ(note->word, row.word);
        EXPECT_EQ(note->reason, row.reason);
        EXPECT_EQ(note->remedy, row.remedy) << row.word;
        EXPECT_EQ(note->isTrouble, row.isTrouble) << row.word;
    }
}

TEST(NoteTest, EachWordHasARowHere)
{
    std::vector<std::string> words;
    for (const Row& row : allRows()) {
        if (std::find(words.begin(), words.end(), row.word) == words.end()) {
            words.push_back(row.word);
        }
    }
    EXPECT_THAT(Notes::words(), UnorderedElementsAreArray(words));
}

std::vector<std::string> wordsIn(const std::string& file, const std::string& pattern)
{
    const std::string text = Files::content(PROJECT_SOURCE + file);
    const std::regex row(pattern, std::regex::multiline);
    std::vector<std::string> words;
    for (std::sregex_iterator match(text.begin(), text.end(), row), end; match != end; ++match) {
        words.push_back((*match)[1]);
    }
    return words;
}

TEST(NoteTest, EachWordHasARowInTheManualAndInTheGuide)
{
    EXPECT_THAT(wordsIn("/docs/man/vrmountctl.1", "^\\.It Li ([a-z-]+)$"),
                UnorderedElementsAreArray(Notes::words()));
    EXPECT_THAT(wordsIn("/docs/live-system.md", "^\\| `([a-z-]+)` \\|"),
                UnorderedElementsAreArray(Notes::words()));
}

TEST(NoteTest, IsLeftOutWhereEverythingIsAsItShouldBe)
{
    const DriveFacts unidentified = with(&DriveFacts::isIdentified, false, holding("", "", readOnly()));
    for (const DriveFacts& drive : {
             at("/media/C:"),
             probed(14, at("/media/C:")), // and yet somebody has it writable
             readOnly(),                  // the driver could not be asked
             probed(19, readOnly()),      // no right to ask it
             holding("filesystem", "iso9660", readOnly()),
             holding("filesystem", "iso9660", external(readOnly())),
             external(unidentified),
             external(at("/mnt/sdb1")),
             whole(at("/mnt/sdb")),
             writeProtected(at("/media/C:")),
         }) {
        EXPECT_EQ(wordOn(drive), "nothing") << drive.directory << ' ' << drive.type;
    }
}

TEST(NoteTest, SaysNothingThatOnlyTheProviderKnowsWithoutIt)
{
    const DriveFacts unknown = with(&DriveFacts::presentation, Presentation::Unknown);
    EXPECT_EQ(wordOn(unknown), "nothing");
    EXPECT_EQ(wordOn(at("/mnt/sda2", unknown)), "nothing");
    EXPECT_EQ(wordOn(with(&DriveFacts::isIdentified, false, holding("", "", unknown))), "nothing");
    EXPECT_EQ(wordOn(probed(14, readOnly(at("/mnt/sda2", unknown)))), "hibernated");
    EXPECT_EQ(wordOn(holding("crypto", "BitLocker", unknown)), "bitlocker");
}

TEST(NoteTest, NamesTheCauseThatComesFirst)
{
    EXPECT_EQ(wordOn(probed(14, writeProtected(readOnly()))), "write-protected");
    EXPECT_EQ(wordOn(withoutLetter(with(&DriveFacts::isTemporaryRootShared, true, at("/mnt/sda2")))),
              "shared-mount");
    EXPECT_EQ(
        wordOn(with(&DriveFacts::isRescueMedium, true, with(&DriveFacts::elsewhere, std::string("/run")))),
        "rescue-medium");
    EXPECT_EQ(wordOn(with(&DriveFacts::service, Stage::Absent, withoutLetter(partition()))), "no-service");
    EXPECT_EQ(wordOn(writeProtected(partition())), "not-mounted"); // NTFS is tried read-only
    EXPECT_EQ(wordOn(with(&DriveFacts::isLater, true, external(whole()))), "not-mounted");
    EXPECT_EQ(wordOn(with(&DriveFacts::isLater, true, whole())), "nothing");
}

TEST(NoteTest, QuotesNamesInCommandsForTheShell)
{
    DriveFacts drive = probed(14, readOnly(at("/media/it's $(reboot) {node}")));
    EXPECT_EQ(Notes::on(drive)->remedy,
              "vrmountctl remount '/media/it'\\''s $(reboot) {node}' remove_hiberfile makes it writable; the "
              "sleeping session is lost.");
    drive = with(&DriveFacts::coveredBy, std::string("{directory}"), at("/media/a b"));
    EXPECT_EQ(Notes::on(drive)->reason, "hidden by {directory}, which is mounted over it");
    EXPECT_EQ(Notes::on(drive)->remedy, "umount '/media/a b' takes away what lies on top.");
}

} // namespace
