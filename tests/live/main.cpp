// Runs the tests; with --drop-leftovers none of them: what a broken-off run has left under its
// prefix is dropped.
#include <cstring>
#include <iostream>

#include "LiveServer.h"

namespace QuillonLib::live {
namespace {

int DropLeftovers() {
    const std::u16string prefix = Setting("QUILLON_LIVE_PREFIX");
    if (!prefix.starts_with(Prefix) || prefix == Prefix) {
        std::cerr << "QUILLON_LIVE_PREFIX does not name one run\n";
        return 2;
    }
    const auto server = Open(u"master");
    Recordset names;
    names.Open(u"SELECT name FROM master.dbo.sysdatabases ORDER BY name", server);
    for (; !names.EndOfSet(); names.MoveNext()) {
        const std::u16string name = names.Fields(0).Value().Get<std::u16string>();
        if (!name.starts_with(prefix)) continue;
        Drop(*server, name);
        std::cout << "dropped " << ToUtf8(name) << '\n';
    }
    return 0;
}

}  // namespace
}  // namespace QuillonLib::live

int main(int argc, char** argv) try {
    testing::InitGoogleTest(&argc, argv);
    if (QuillonLib::live::Setting("QUILLON_LIVE_SERVER").empty()) {
        std::cerr << "no server: set QUILLON_LIVE_SERVER, as scripts/test-server.sh does\n";
        return 2;
    }
    if (argc == 2 && std::strcmp(argv[1], "--drop-leftovers") == 0) {
        return QuillonLib::live::DropLeftovers();
    }
    return RUN_ALL_TESTS();
} catch (const QuillonLib::Error& error) {
    std::cerr << error.what() << '\n';
    return 2;
}
