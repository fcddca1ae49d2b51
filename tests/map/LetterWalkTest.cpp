#include <algorithm>
#include <map>
#include <random>
#include <set>

#include <gmock/gmock.h>

#include <QSettings>

#include "drives/DrivesMap.h"
#include "drives/LetterArrangement.h"
#include "drives/RunningLetter.h"
#include "map/DriveAddress.h"
#include "map/LetterPlan.h"
#include "map/MapText.h"
#include "tests/map/Volumes.h"
#include "tests/support/TemporaryDirectory.h"

/// The maps that are written, read by the very classes of the service that read them.
namespace {

using Random = std::mt19937;

/// Signatures of the disk that is here, and of one that is not.
constexpr quint32 Here = 7;
constexpr quint32 Elsewhere = 9;

int upTo(Random& random, int most)
{
    return std::uniform_int_distribution<int>(0, most)(random);
}

/// What the service makes of a map and of the partitions that it can mount, in their order.
std::vector<std::pair<const Volume*, QString>>
arrange(const QByteArray& map, const std::vector<Volume>& volumes, const std::vector<bool>& isMounted)
{
    static int count = 0;
    static const TemporaryDirectory directory;
    const QString file = QString::fromStdString(directory.path()) + QStringLiteral("/%1.ini").arg(++count);
    DrivesMap::replace(file, map);
    QSettings settings(file, QSettings::IniFormat);
    const QList<WindowsPartition> records = DrivesMap::partitions(settings);
    QSet<QString> taken;
    RunningLetter running;
    std::vector<std::pair<const Volume*, QString>> result;
    for (std::size_t index = 0; index < volumes.size(); ++index) {
        const Volume& volume = volumes[index];
        if (!isMounted[index]) {
            continue;
        }
        const QString key = LetterArrangement::matchKey(volume.type, volume.uuid);
        QString letter = key.isEmpty() || map.isEmpty() ? QString() : running.walk(records, key);
        if (letter.isEmpty()) {
            letter = running.nextFree([&](const QString& each) { return taken.contains(each); });
        }
        taken.insert(letter);
        result.emplace_back(&volume, letter);
    }
    return result;
}

/// Partitions of one disk with an MBR, each of a type that is drawn.
std::vector<Volume> drawVolumes(Random& random, bool onlyWindows)
{
    static const QStringList Types{QStringLiteral("ntfs"), QStringLiteral("vfat"), QStringLiteral("ext4"),
                                   QStringLiteral("exfat")};
    std::vector<Volume> result;
    const int count = 1 + upTo(random, 9);
    for (int number = 1; number <= count; ++number) {
        Volume volume = Volumes::onMbr("sda" + std::to_string(number), Here, quint64(number) << 20);
        volume.type = Types[upTo(random, onlyWindows ? 1 : 3)];
        volume.isReadable = volume.type == QLatin1String("ntfs") && upTo(random, 3) > 0;
        const QString id = volume.uuid.mid(8);
        volume.uuid = volume.type == QLatin1String("ntfs")   ? volume.uuid
                      : volume.type == QLatin1String("vfat") ? id.left(4) + QLatin1Char('-') + id.mid(4)
                                                             : QStringLiteral("0f1e2d3c-4b5a");
        result.push_back(volume);
    }
    std::shuffle(result.begin(), result.end(), random);
    return result;
}

/// Different letters for some of the partitions, and for drives that are not here.
std::vector<RememberedDrive> drawDrives(Random& random, const std::vector<Volume>& volumes)
{
    std::vector<char> letters;
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        letters.push_back(letter);
    }
    if (upTo(random, 3) > 0) {
        std::shuffle(letters.begin() + 2, letters.begin() + 12, random);
    } else {
        std::shuffle(letters.begin(), letters.end(), random);
    }
    std::vector<RememberedDrive> result;
    auto next = letters.begin() + 2;
    for (const Volume& volume : volumes) {
        if (upTo(random, 3) > 0) {
            result.push_back(Volumes::mbr(*next++, Here, volume.offset));
        } else if (upTo(random, 1) > 0) {
            result.push_back(Volumes::mbr(*next++, Elsewhere, volume.offset));
        }
    }
    return result;
}

/// Each can be mounted that this program could read; of the others some.
std::vector<bool> drawMounted(Random& random, const std::vector<Volume>& volumes)
{
    std::vector<bool> result;
    for (const Volume& volume : volumes) {
        result.push_back(volume.isReadable || upTo(random, 3) > 0);
    }
    return result;
}

/// The letter of each partition that is here by its offset, and the offset, or 0, by the letter.
struct Letters
{
    explicit Letters(const std::vector<RememberedDrive>& drives)
    {
        for (const RememberedDrive& drive : drives) {
            const DriveAddress address = DriveAddress::of(drive.data);
            const quint64 offset = address.signature == Here ? address.offset : 0;
            const QString letter = QString(QLatin1Char(drive.letter)) + QLatin1Char(':');
            ownerOf[letter] = offset;
            letterOf[offset] = letter;
        }
    }

    std::map<QString, quint64> ownerOf;
    std::map<quint64, QString> letterOf;
};

TEST(LetterWalk, NeverStacksPartitionsWhateverTheirOrderAndTheLettersOfTheRegistry)
{
    Random random(20261121);
    for (int round = 0; round < 1500; ++round) {
        const std::vector<Volume> volumes = drawVolumes(random, round % 2 == 0);
        const std::vector<RememberedDrive> drives = drawDrives(random, volumes);
        const std::vector<PlannedLetter> plan = planLetters(volumes, drives);
        const QByteArray map = MapText::of(plan, volumes, QStringLiteral("/dev/sda1"));
        std::set<QString> letters;
        for (const auto& [volume, letter] : arrange(map, volumes, drawMounted(random, volumes))) {
            ASSERT_TRUE(letters.insert(letter).second)
                << "round " << round << ": " << letter.toStdString() << " twice\n"
                << map.constData();
        }
    }
}

TEST(LetterWalk, GivesEachPartitionTheLetterOfTheRegistryAndNobodyElseOneOfIts)
{
    Random random(4711);
    int given = 0;
    for (int round = 0; round < 1500; ++round) {
        const std::vector<Volume> volumes = drawVolumes(random, true);
        const std::vector<RememberedDrive> drives = drawDrives(random, volumes);
        const std::vector<PlannedLetter> plan = planLetters(volumes, drives);
        const Letters letters(drives);
        const QByteArray map = MapText::of(plan, volumes, QStringLiteral("/dev/sda1"));
        if (map.isEmpty()) {
            continue;
        }
        for (const auto& [volume, letter] : arrange(map, volumes, drawMounted(random, volumes))) {
            const auto owner = letters.ownerOf.find(letter);
            const auto own = letters.letterOf.find(volume->offset);
            ASSERT_TRUE(owner == letters.ownerOf.end() || owner->second == volume->offset)
                << "round " << round << ": " << letter.toStdString() << "\n"
                << map.constData();
            ASSERT_TRUE(own == letters.letterOf.end() || own->second == letter)
                << "round " << round << ": " << letter.toStdString() << "\n"
                << map.constData();
            given += own != letters.letterOf.end() ? 1 : 0;
        }
    }
    EXPECT_GT(given, 2500);
}

} // namespace
