#pragma once

#include <string>

namespace RemountRequest {

/// The request, in the form of docs/protocol.md, that mounts what is mounted at `path` again with `options`,
/// which may be empty. Throws UsageError for what would not arrive as it stands: "=" or "|", blanks at an
/// end, an empty path, bytes that are not UTF-8.
std::string line(const std::string& path, const std::string& options);

} // namespace RemountRequest
