// What AutomationTypes.idl stands for: the system's own declarations.
#pragma once

#include <windows.h>
// <windows.h> comes first.
#include <oaidl.h>
#include <ocidl.h>
#include <oleauto.h>
#include <olectl.h>
