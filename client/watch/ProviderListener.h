#pragma once

#include <functional>

#include <QDBusServiceWatcher>
#include <QObject>

/// Hears the signals of the provider on the system bus.
class ProviderListener : public QObject
{
    Q_OBJECT

public:
    /// Calls `hear` with a byte of BusWatch for each signal. Waits for the bus; isConnected() is false if
    /// there is none.
    explicit ProviderListener(std::function<void(char what)> hear);

    bool isConnected() const { return _isConnected; }

private Q_SLOTS:
    void _slot_arrival();
    void _slot_change();

private:
    std::function<void(char what)> _hear;
    bool _isConnected = false;
};
