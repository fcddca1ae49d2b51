#pragma once

#include "client/notes/DriveFacts.h"
#include "client/survey/DriveInquiry.h"
#include "client/survey/Surroundings.h"

/// The facts of a drive whose answers have been collected.
DriveFacts factsOf(const DriveInquiry& inquiry, const Surroundings& surroundings);
