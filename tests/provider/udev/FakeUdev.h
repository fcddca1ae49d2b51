#pragma once

#include <algorithm>
#include <deque>
#include <vector>

#include "provider/udev/Udev.h"

/// A udev that says what a test has it say.
class FakeUdev : public Udev
{
    Q_OBJECT

public:
    bool isRunning() const override { return runs; }
    bool isIdle() const override { return idle; }
    std::vector<std::string> directories() const override
    {
        std::vector<std::string> result;
        for (const BlockDevice& device : database) {
            result.push_back(device.path().toStdString());
        }
        return result;
    }
    std::optional<BlockDevice> deviceIn(const std::string& directory) const override
    {
        const auto match = std::find_if(database.begin(), database.end(), [&](const BlockDevice& device) {
            return device.path().toStdString() == directory;
        });
        return match != database.end() ? std::make_optional(*match) : std::nullopt;
    }
    Event receive() override
    {
        if (events.empty()) {
            return {};
        }
        const Event next = events.front();
        events.pop_front();
        return next;
    }

    void announce(Event::Kind kind, const BlockDevice& device = BlockDevice())
    {
        events.push_back({kind, device});
        Q_EMIT announced();
    }
    /// Takes a device out of the database.
    void forget(const BlockDevice& device)
    {
        database.erase(
            std::remove_if(database.begin(), database.end(),
                           [&](const BlockDevice& other) { return other.path() == device.path(); }),
            database.end());
    }

    bool runs = true;
    bool idle = true;
    std::vector<BlockDevice> database;
    std::deque<Event> events;
};
