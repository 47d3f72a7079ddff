#pragma once

#include <set>
#include <string>
#include <vector>

namespace io {

// The components of a name stored in an archive, made harmless: the name is
// split at "/" and "\", a leading drive letter goes, bytes that
// Path::pathChar refuses go, and components that are empty or made only of
// dots are dropped; each is cut to Path::maxComponent bytes. On Windows a
// colon becomes "_", trailing dots and blanks go, and device names (CON,
// NUL, COM1, ...) get a leading "_". What remains can only name something
// below the folder it is joined to. Without `backslashSeparates` only "/"
// splits, and a "\" is a character of the name; on Windows, which cannot hold
// one in a name, it becomes "_".
std::vector<std::string> safeComponents(const std::string& storedName, bool backslashSeparates = true);

// The path at which the item stored as `storedName` goes inside
// `outputFolder`: the folder, a separator, and the safe components joined by
// Path::separator. A component that exists below the folder as a symbolic
// link is never passed through: it is replaced by the first free
// "name_n.ext", so a planted link can't lead out of the folder. A name with
// no usable component answers the folder itself ("." for an empty folder).
// Throws io::Exception when no free name is left beside a link.
std::string safePath(const std::string& outputFolder, const std::string& storedName, bool backslashSeparates = true);
// The same for a caller that expands many items: the folders in `trusted`
// are real folders that it made or looked up itself, so they are not looked
// up again, and `free` tells whether nothing at all was at the path.
std::string safePath(const std::string& outputFolder, const std::string& storedName,
                     const std::set<std::string>& trusted, bool& free, bool backslashSeparates = true);

} // namespace io
