// A library of its own that holds QuillonLib.
#include "core/LibraryFolder.h"

// At most `size` characters, with the last NUL.
extern "C" __declspec(dllexport) void FolderOfLibrary(wchar_t* folder, unsigned size) {
    QuillonLib::LibraryFolder().wstring().copy(folder, size - 1);
}
