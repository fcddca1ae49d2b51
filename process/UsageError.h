#pragma once

#include <stdexcept>

/// The command line makes no sense, or it asks for something that does not exist or cannot be passed on.
/// `what()` says so in one line for the user.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
