// The databases of the demo: the codes of countries, subdivisions, currencies, scripts and
// languages as Debian's iso-codes package has them, and the same some years ago.
#pragma once

#include <string>

namespace quillon {

// Scripts that create and fill the databases "world" and "world_stale". `folder` holds the
// package's JSON files. Throws std::runtime_error that names a file that cannot be read.
struct DemoScripts {
    std::u16string world;
    std::u16string worldStale;
};
DemoScripts MakeDemoScripts(const std::string& folder = "/usr/share/iso-codes/json");

}  // namespace quillon
