// Any bytes as a template file: every operation works or raises an Error, and what is saved loads.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "core/Error.h"
#include "templates/ComparisonTemplates.h"

namespace {

namespace fs = std::filesystem;
using QuillonLib::ComparisonTemplates;

const fs::path& File() {
    static const fs::path file = [] {
        std::string folder = (fs::temp_directory_path() / "quillon-fuzz-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        return fs::path(folder) / "Templates.xml";
    }();
    return file;
}

template <typename Action>
bool Works(Action action) {
    try {
        action();
        return true;
    } catch (const QuillonLib::Error&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::ofstream(File(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    ComparisonTemplates store;
    store.Load(File().u16string());
    Works([&] { store.Templates(); });
    Works([&] { store.LoadTemplate(u"fuzz"); });
    Works([&] { store.LoadTemplate(u"Default"); });
    Works([&] { store.Database1(); });
    for (const auto kind : {QuillonLib::tmpTable, QuillonLib::tmpColumn, QuillonLib::tmpIndex}) {
        Works([&] { store.Items(kind); });
    }
    Works([&] { store.RemoveTemplate(u"a"); });
    if (Works([&] { store.Persist(); })) {
        ComparisonTemplates again;
        if (!again.Load(File().u16string())) std::abort();
    }
    return 0;
}
