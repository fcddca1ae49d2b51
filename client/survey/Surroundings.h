#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/service/ServiceState.h"
#include "client/survey/MountedDrive.h"
#include "client/survey/Provider.h"
#include "kernel/BlockNodes.h"
#include "kernel/BlockStack.h"
#include "kernel/RescueMedium.h"

/// What all drives of a machine have in common.
struct Surroundings
{
    std::vector<Mount> mounts;
    std::vector<MountedDrive> drives; ///< the mounts that are listed
    BlockStack blocks;
    RescueMedium medium;
    ServiceState service;
    /// By the number of its node; nothing while the provider has not answered.
    std::optional<std::vector<std::pair<dev_t, PresentedDevice>>> presented = {};

    /// As the kernel has them now. Throws std::system_error if the mount table cannot be read.
    static Surroundings look(const std::string& socket);

    void takeAnswer(const std::string& answer);
    const PresentedDevice* presentedAs(dev_t number) const;
    /// Whether it is a disk with partitions.
    bool isDivided(const BlockNode& node) const;
};
