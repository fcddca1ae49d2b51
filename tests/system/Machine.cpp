#include "tests/system/Machine.h"

#include <csignal>
#include <stdexcept>

#include "tests/support/WaitFor.h"
#include "tests/system/Files.h"

namespace {

const std::string MachineFile = "/tmp/machine.ini";

Machine::Settings with(const std::string& first, const Machine::Settings& others)
{
    Machine::Settings result = {first};
    result.insert(result.end(), others.begin(), others.end());
    return result;
}

void command(const std::string& word, const std::string& node)
{
    const ProcessResult result = runProgram({VRUDISKS, word, node});
    if (result.status != 0) {
        throw std::runtime_error(result.output);
    }
}

} // namespace

void Machine::addInternal(const std::string& node, const std::string& image, const Settings& settings)
{
    add(node, image, with("Internal = true", settings));
}

void Machine::addExternal(const std::string& node, const std::string& image, const Settings& settings)
{
    add(node, image, settings);
}

void Machine::addUnplugged(const std::string& node, const std::string& image, const Settings& settings)
{
    add(node, image, with("Plugged = false", settings));
}

void Machine::add(const std::string& node, const std::string& image, const Settings& settings)
{
    _description += "[" + node + "]\n";
    if (!image.empty()) {
        _description += "Image = " + image + "\n";
    }
    for (const std::string& line : settings) {
        _description += line + "\n";
    }
}

void Machine::start()
{
    Files::write(MachineFile, _description);
    _udisks = std::make_unique<Process>(std::vector<std::string>{VRUDISKS, "--machine", MachineFile},
                                        "/tmp/udisks.output");
    const auto isReady = [this] { return _udisks->output().find("ready") != std::string::npos; };
    if (!waitFor([&] { return isReady() || !_udisks->isRunning(); }) || !isReady()) {
        throw std::runtime_error("UDisks does not come up: " + _udisks->output());
    }
}

void Machine::freezeUDisks() const
{
    _udisks->send(SIGSTOP);
}

void Machine::thawUDisks() const
{
    _udisks->send(SIGCONT);
}

void Machine::plug(const std::string& node) const
{
    command("plug", node);
}

void Machine::unplug(const std::string& node) const
{
    command("unplug", node);
}

std::string Machine::encoded(const std::string& value)
{
    constexpr char Digits[] = "0123456789ABCDEF";
    std::string result;
    for (const char character : value) {
        const auto byte = static_cast<unsigned char>(character);
        result += {'%', Digits[byte / 16], Digits[byte % 16]};
    }
    return result;
}
