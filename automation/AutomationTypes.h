// What AutomationTypes.idl stands for: the system's own declarations.
#pragma once

#include <oaidl.h>
#include <ocidl.h>
