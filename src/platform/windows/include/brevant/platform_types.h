// The platform types that the public headers name: on Windows they are the platform's own.
#pragma once

// The sockets come before anything that brings their older relative along.
// clang-format off
#include <winsock2.h>
#include <objidl.h>
#include <ole2.h>
#include <windows.h>
// clang-format on

// A macro for printers; the FTP client has an operation of that name.
#undef SetPort

// Marks what the library exports: BREVANT_BUILDING is set while the library itself is compiled,
// BREVANT_STATIC by users of the static library.
#if defined(BREVANT_BUILDING)
#define BREVANT_API __declspec(dllexport)
#elif defined(BREVANT_STATIC)
#define BREVANT_API
#else
#define BREVANT_API __declspec(dllimport)
#endif
// Gives an exported C function its leading underscore in the export table. (On 32 bits the linker
// wants one more there, see cmake/Exports32.cmake; what imports the function has it already.)
#define BREVANT_EXPORTED_AS(name) __asm__("_" #name)
// Tells the compiler to check a printf-style format at the given argument positions.
#define BREVANT_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
