#pragma once

#include <stdexcept>

/// The command line asks for something that does not exist or that no request can carry. `what()` says so in
/// one line.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
