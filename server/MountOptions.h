#pragma once

/// The place for option sets of their own for each file system; a request carries its options as text so far.
class MountOptions
{
public:
    virtual ~MountOptions() = default;
};

class NtfsOptions : public MountOptions
{
};

class VfatOptions : public MountOptions
{
};
