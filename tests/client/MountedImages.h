#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>

/// A test among real mounts, which it makes itself: in tests/support/sandbox only, skipped with the reason
/// where something is missing. All mounts go with the test.
class MountedImagesTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Mounts with mount(8): `arguments` are its options and the source. Makes `directory`.
    void mount(std::vector<std::string> arguments, const std::string& directory);
    /// The process that drives what ntfs-3g has mounted last.
    static pid_t ntfsDriver();

private:
    std::vector<std::string> _directories;
};
