#pragma once

#include "client/DriveFacts.h"
#include "client/DriveInquiry.h"
#include "client/Surroundings.h"

/// The facts of a drive whose answers have been collected.
DriveFacts factsOf(const DriveInquiry& inquiry, const Surroundings& surroundings);
