#pragma once

#include <chrono>
#include <string>

namespace wevora::chflags {

/// Adds an item's name to the ".hidden" file of its folder, once only, or takes it out. The other
/// lines stay as they are; the file is replaced as a whole, and it goes when nothing is left in it.
/// A link at the end of the path is marked itself. Two programs that mark items of one folder at
/// once take turns; one that waits longer than its patience gives up. Throws std::runtime_error,
/// with the reason in one line, for a name that holds a line end, for an item that is to be hidden
/// and does not exist, and for a folder that cannot be changed; the list is then as it was.
/// Threads: any.
void setHidden(const std::string& path, bool hidden,
               std::chrono::milliseconds patience = std::chrono::seconds(5));

}  // namespace wevora::chflags
