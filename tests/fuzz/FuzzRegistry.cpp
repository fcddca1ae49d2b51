#include <cstddef>
#include <cstdint>
#include <fstream>
#include <set>
#include <string>

#include <unistd.h>

#include "map/LetterPlan.h"
#include "map/MapText.h"
#include "map/reader/Answer.h"
#include "map/reader/Registry.h"
#include "map/reader/TableAnswer.h"
#include "map/reader/WindowsFinding.h"
#include "tests/fuzz/Require.h"
#include "tests/map/Volumes.h"

/// Any bytes are a registry: its letters are matched with some partitions and become a map. They are also
/// what a process reports that has read a disk.
namespace {

constexpr std::size_t ChecksumPlace = 508;

/// A header whose checksum does not fit would end every reading at once.
std::string withChecksum(std::string bytes)
{
    if (bytes.size() < ChecksumPlace + 4) {
        return bytes;
    }
    char sum[4] = {};
    for (std::size_t at = 0; at < ChecksumPlace; ++at) {
        sum[at % 4] = static_cast<char>(sum[at % 4] ^ bytes[at]);
    }
    return bytes.replace(ChecksumPlace, 4, sum, 4);
}

std::vector<Volume> partitions()
{
    using namespace Volumes;
    return {onMbr("sda1", 0x1234ABCD, 1048576), onMbr("sda2", 0x1234ABCD, 2097152),
            onGpt("sdb1", "0123abcd-1122-3344-5566-778899aabbcc"),
            withSerialOf(onMbr("sdc1", 7, 512), "sda2")};
}

void checkPlan(const std::vector<RememberedDrive>& drives)
{
    const std::vector<Volume> volumes = partitions();
    const std::vector<PlannedLetter> plan = planLetters(volumes, drives);
    require(plan.size() == drives.size(), "each letter is planned");
    std::set<char> letters;
    for (const PlannedLetter& planned : plan) {
        require(planned.letter >= 'A' && planned.letter <= 'Z', "a letter is one");
        require(letters.insert(planned.letter).second, "no letter is planned twice");
        require(planned.volume < static_cast<int>(volumes.size()), "a partition is one");
        require((planned.volume < 0) != planned.reason.isEmpty(), "whoever gets none hears why");
    }
    const QByteArray map = MapText::of(plan, volumes, QStringLiteral("/dev/sda1"));
    require(map.isEmpty() == MapText::recordsOf(map).empty(), "a map has records");
}

void checkRegistry(const std::string& bytes)
{
    static const std::string file = "/dev/shm/fuzz-registry-" + std::to_string(getpid());
    std::ofstream(file, std::ios::binary) << withChecksum(bytes);
    try {
        checkPlan(readRegistry(file).drives);
    } catch (const std::runtime_error&) { // NOLINT(bugprone-empty-catch): a registry that is none
    }
    unlink(file.c_str());
}

/// What is understood means itself.
template<typename Read>
void checkAnswer(const std::string& bytes, Read read)
{
    try {
        const std::string again = toAnswer(read(bytes));
        require(toAnswer(read(again)) == again, "an answer goes through as it is");
    } catch (const AnswerError&) { // NOLINT(bugprone-empty-catch): an answer that is none
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    checkRegistry(bytes);
    checkPlan({{'C', bytes}});
    checkAnswer(bytes, &findingOf);
    checkAnswer(bytes, &partitionTableOf);
    return 0;
}
