// What the sources of the FTP client share.
#pragma once

#include "net/connection.h"
#include "store/ascii.h"

#include <brevant/ftp.h>

#include <array>
#include <string>

// Room for the text of a reply, with its terminator.
inline constexpr int kFtpTextSize = 128;

// A reply to a command; without a code when none came.
struct TFTP::Reply {
  std::array<char, 4> code{};
  std::array<char, kFtpTextSize> text{};

  bool Begins(char digit) const { return code[0] == digit; }
  LONG Number() const { return brevant::LeadingNumber(code.data()); }
};

// A walk through the directory list.
struct TFTP::Search {
  std::string pattern;
  std::size_t next = 0;
  DWORD generation = 0;  // of the list that it began with
};
