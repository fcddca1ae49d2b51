#pragma once

#include <vector>

#include <QString>

#include "provider/Device.h"
#include "provider/today/Circumstances.h"

struct Rule;

/// A device of the machine, and what is presented of it.
struct Presentation
{
    Device actual;
    Device shown;
    bool isOffered = true;
    QString name = {}; ///< that no other one has; empty for a device that is not mounted under its name
    std::vector<const Rule*> reasons = {}; ///< the rules that made the difference
};

/// Every device of the machine, in the order in which they are presented.
using Picture = std::vector<Presentation>;
