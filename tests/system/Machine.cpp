#include "tests/system/Machine.h"

#include <csignal>

namespace {

Machine::Settings with(const std::string& first, const Machine::Settings& others)
{
    Machine::Settings result = {first};
    result.insert(result.end(), others.begin(), others.end());
    return result;
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
    _udisks = std::make_unique<MachineProvider>(_description, _options);
}

void Machine::freezeUDisks()
{
    _udisks->process().send(SIGSTOP);
}

void Machine::thawUDisks()
{
    _udisks->process().send(SIGCONT);
}

void Machine::plug(const std::string& node)
{
    _udisks->plug(node);
}

void Machine::unplug(const std::string& node)
{
    _udisks->unplug(node);
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
