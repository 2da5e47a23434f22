#pragma once

#include <optional>
#include <string>

#include "codec/timestamps.h"

/// What a recorder needs to know of a directory that was recorded into before.
namespace depth_io::tools {

/// Whether a directory is new to recordings: empty, or with the description of a run without a
/// frame. With `may_append` it may also hold a tree of
/// day, hour and minute folders. Throws `UsageFailure` for anything else.
bool check_contents(const std::string& directory, bool may_append);

/// Time of the last frame in a tree; none when there is no frame. Looks into the last folders only.
std::optional<Moment> last_moment_of_tree(const std::string& directory);

/// Whether the frame of a moment lies in its folder of a tree, complete to its last file.
bool tree_has_frame(const std::string& directory, const Moment& moment);

}  // namespace depth_io::tools
