// The names under which files from mail are kept. They lie directly in one directory, never replace
// a file there, and can be written raw into a link.
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// What stands in for the name of a nameless part: "image" with the extension of its type when
// contentType names one of the four image types that pages show, "file" for everything else.
std::string NamelessAttachment(std::string_view contentType);

// The four known image types: ".gif", ".jpg", ".png" or ".bmp"; empty for any other content type.
std::string_view ImageExtension(std::string_view contentType);

// A part's own file name made safe: its last path component without control and reserved
// characters, leading dots, trailing dots and blanks; blanks and what a link could not carry raw
// become "_"; at most 60 bytes, the extension kept. Empty when nothing is left.
std::string SafeFileName(std::string_view name);

// Whether a program could start by the name alone (".EXE", ".COM", ".BAT", ".DLL", ".LNK", ".PIF").
bool IsForbiddenAttachment(std::string_view name);

// The name of a file that lies on a web server where anybody can ask for it: it keeps its extension
// when files of that type are not run, neither by servers nor by browsers; any other becomes part
// of the name, before ".bin". Further dots become "_", since some servers look at every extension.
std::string HarmlessFileName(std::string_view safeName);

// Whether the name's extension is that of an image that pages show.
bool IsImageName(std::string_view name);

// The stored name: the four characters of prefix and the safe name; in lower case when it fits 8.3
// as a whole, since such names come back from directory searches in either case.
std::string StoredFileName(std::string_view prefix, std::string_view safeName);

// number, modulo 36^4, as four base-36 digits.
std::string AttachmentPrefix(unsigned number);

}  // namespace brevant
