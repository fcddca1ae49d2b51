#pragma once

#include <string>

#include "kernel/PartitionTable.h"

/// The form in which a partition table goes through a pipe, and back. The latter throws AnswerError for
/// whatever no child of this program would say.
std::string toAnswer(const PartitionTable& table);
PartitionTable partitionTableOf(const std::string& answer);
