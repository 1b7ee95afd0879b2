// A forum's message as mail of today: what goes out in standard mode.
#pragma once

#include <brevant/board.h>
#include <brevant/frame.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brevant {

// The board as the headers of its mail name it.
struct TBoardIdentity {
  explicit TBoardIdentity(const TSetup& setup);

  std::string name;       // "BBS Name" as it is stored
  std::string shortName;  // UTF-8, as the following
  std::string address;    // an AddressSpec; empty when the board has none that can be used
};

// A text on its way out.
struct TMailText {
  std::string text;
  std::string charset;
  bool isBytes = false;  // of a charset whose line ends are no single bytes
};

// A message's content, stored with the character set that label names, as it is read today: HTML
// as UTF-8 plain text, anything else in its own character set when its bytes can be that.
TMailText StandardHtmlText(std::string_view content, std::string_view label, bool dropsScripts);
TMailText StandardPlainText(std::string_view content, std::string_view label);

// The message's subject as a header holds it.
std::string StandardSubject(const TMail& message);

// All other header fields but the board's tag, in their order, and the body that they describe.
struct TStandardMail {
  std::vector<std::pair<const char*, std::string>> fields;
  std::string body;
};
TStandardMail ComposeStandardMail(const TBoardIdentity& board, const TForum& forum,
                                  const TMail& message, const TMailText& text);

}  // namespace brevant
