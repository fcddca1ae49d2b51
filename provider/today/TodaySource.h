#pragma once

#include <string>

#include <QTimer>

#include "kernel/BlockStack.h"
#include "kernel/MountTable.h"
#include "provider/DeviceSource.h"
#include "provider/today/Rules.h"

/// The devices of another source as the rules present them.
///
/// Signals are about what is presented: a device that becomes presentable by a change is announced as added,
/// one that stops being so as removed, and one that another device's coming or going changes as changed.
///
/// Dead mounts are taken away as soon as their device is gone, and before any other is announced.
class TodaySource : public DeviceSource
{
    Q_OBJECT

public:
    TodaySource(DeviceSource& source, Rules::Selection rules, BlockStack blocks = BlockStack(),
                std::string mountTable = MountTable::Self);

    void start() override;
    std::vector<const Device*> devices() const override;

    /// Every device of the source, those that are not presented included.
    const Picture& picture() const { return _picture; }

Q_SIGNALS:
    /// A line for the user.
    void noted(const QString& text);

private:
    enum class Event
    {
        Added,
        Changed,
        Removed,
    };

    void begin();
    void come(const QString& objectPath);
    void change(const QString& objectPath);
    void go(const QString& objectPath);
    Picture look(const QString& except = {}) const;
    void update(Picture now, Event event, const QString& objectPath);
    void announceDifference(const Picture& before, const Device& device, bool isChanged);
    void takeAwayDeadMounts();

    DeviceSource& _source;
    Rules::Selection _rules;
    BlockStack _blocks;
    MountTable _mounts;
    Circumstances _circumstances;
    bool _isReady = false;
    Picture _picture;
    QTimer _secondLook;
};
