// What the shared library shows: the classes and functions of the public headers that are marked
// QUILLON_API. Everything else is compiled with hidden visibility, and so is what is marked
// QUILLON_LOCAL inside of a class that is shown.
#pragma once

#if defined(__GNUC__) && !defined(_WIN32)
#define QUILLON_API __attribute__((visibility("default")))
#define QUILLON_LOCAL __attribute__((visibility("hidden")))
#else
#define QUILLON_API
#define QUILLON_LOCAL
#endif
