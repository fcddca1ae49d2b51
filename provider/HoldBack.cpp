#include "provider/HoldBack.h"

HoldBack::HoldBack(Clock::time_point start)
    : _start(start)
    , _knownSince(start)
{
}

bool HoldBack::isOver(UdevDatabase::Knowledge known, Clock::time_point now)
{
    if (known != _known) {
        _known = known;
        _knownSince = now;
    }
    const bool udevIsDone = _known != UdevDatabase::Knowledge::Nothing;
    return (udevIsDone && now - _knownSince >= PATIENCE) || now - _start >= LIMIT;
}
