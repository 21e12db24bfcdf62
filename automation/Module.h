// The DLL itself: where it lies, and what keeps it loaded.
#pragma once

#include <windows.h>

#include <string>

namespace QuillonLib::Automation {

// Counts objects and server locks; while there are any, the DLL stays.
class Module {
  public:
    static void AddUse() noexcept;
    static void RemoveUse() noexcept;
    static bool InUse() noexcept;

    static void SetHandle(HMODULE handle) noexcept;
    static HMODULE Handle() noexcept;
    // The full path of the DLL's file.
    static std::wstring Path();
};

}  // namespace QuillonLib::Automation
