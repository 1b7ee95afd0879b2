// New items of the board, with the values that mail retrieval would file, so that pages and lists
// treat both alike.
#pragma once

#include "containers.h"

#include <string>

namespace host {

// Throws UserError when text cannot be an item's subject.
void CheckSubject(const std::string& subject);
// Throws UserError when from holds no address or a control character.
void CheckSender(const std::string& from);
// The address in "Name <address>", or the whole text.
std::string AddressOf(const std::string& from);

// The bytes of a file, of standard input when file is "-"; throws UserError.
std::string ReadContent(const std::string& file);

// A temporary item without content.
ItemPointer NewItem(const ContainerKind& kind, const std::string& subject);
// Texts are cut to their record at a whole character. Throw UserError.
void WriteText(TMail& item, const char* key, const std::string& value);
void WriteItemNumber(TMail& item, const char* key, LONG value);
void WriteSender(TMail& item, const std::string& from);
void WriteContent(TMail& item, const std::string& content, bool isHtml);

// Inserts the item and makes that durable; its number. Throws UserError with the text that mail
// retrieval has for it.
DWORD FileItem(const ContainerKind& kind, TMail& item, TForum& container, const std::string& name);

}  // namespace host
