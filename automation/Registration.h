// What the system's registry knows of the classes.
#pragma once

namespace QuillonLib::Automation {

enum class Scope { Machine, User };

// The type library, and for each class its identifier with the path of the DLL, and its names
// "QuillonLib.Utils" and "QuillonLib.Utils.1". Throws ComError.
void Register(Scope scope);
// Takes all of it away again; what is not there is no failure.
void Unregister(Scope scope);

}  // namespace QuillonLib::Automation
