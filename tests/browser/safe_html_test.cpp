// Boards with "Safe HTML": mail of people who mean harm, in a real browser.
#include "look.h"
#include "support/pop3_server.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using test::Look;
using test::RunHost;

std::string Base64(const std::string& bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned block = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      const unsigned byte = at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0;
      block = block << 8 | byte;
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += at + i <= bytes.size() ? kDigits[block >> (18 - 6 * i) & 63] : '=';
    }
  }
  return text;
}

std::string Folded(const std::string& text) {
  std::string lines;
  for (std::size_t at = 0; at < text.size(); at += 76) lines += text.substr(at, 76) + "\r\n";
  return lines;
}

std::string UrlEncoded(const std::string& text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return encoded;
}

// The bytes that a line of the file of attempts stands for.
std::string Bytes(const std::string& line) {
  std::string bytes;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\' || at + 1 == line.size()) {
      bytes += line[at];
      continue;
    }
    switch (line[++at]) {
      case 'n':
        bytes += '\n';
        break;
      case 'r':
        bytes += '\r';
        break;
      case 't':
        bytes += '\t';
        break;
      case 'x':
        bytes += static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16));
        at += 2;
        break;
      default:
        bytes += line[at];
    }
  }
  return bytes;
}

// {{3*x}} is xxx.
std::string Repeated(std::string text) {
  for (std::size_t at; (at = text.find("{{")) != std::string::npos;) {
    const std::size_t star = text.find('*', at);
    const std::size_t end = text.find("}}", star);
    std::string run;
    for (int left = std::stoi(text.substr(at + 2)); left > 0; --left) {
      run += text.substr(star + 1, end - star - 1);
    }
    text.replace(at, end + 2 - at, run);
  }
  return text;
}

std::string Vectors(const std::string& name) {
  return test::ReadFileBytes(SOURCE_DIRECTORY "/tests/browser/vectors/" + name);
}

std::vector<std::string> Attempts() {
  std::vector<std::string> attempts;
  std::istringstream file(Vectors("hostile.txt"));
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    attempts.push_back(Repeated(Bytes(line)));
  }
  return attempts;
}

// A board whose mailbox strangers write to.
class HostileMail : public ::testing::Test {
 protected:
  // decodes: "Decode Mail Text", and headers as encoded words; else they are what they are.
  void MakeBoard(bool decodes) {
    decodes_ = decodes;
    Expect({"init", board_, "--name", "My Board"});
    Expect({"forum", "create", board_, "Talk", "--maximum", "1000"});
    Expect({"links", "create", board_, "Links", "--maximum", "1000"});
    test::Pop3Options options;
    options.account = "board";
    options.password = "secret";
    server_ = std::make_unique<test::Pop3Server>(std::vector<std::string>(), options);
    Set("POP3 Server", "127.0.0.1");
    Set("POP3 Port", std::to_string(server_->Port()));
    Set("POP3 Account", "board");
    Set("POP3 Password", "secret");
    Set("E-Mail Address", "board@example.org");
    Set("BBS Short Name", "My");
    Set("Decode Mail Text", decodes ? "1" : "0");
  }
  void Set(const std::string& key, const std::string& value) {
    Expect({"config", board_, "set", key, value});
  }
  static void Expect(const std::vector<std::string>& command) {
    const test::ProgramResult result = RunHost(command);
    ASSERT_EQ(result.exitCode, 0) << result.output;
  }

  // Authors write attributes in every way.
  void AddValuesToTemplate() {
    const std::string path = board_ + "/Templates/message.htm";
    std::string text = test::ReadFileBytes(path);
    const std::size_t end = text.find("</main>");
    ASSERT_NE(end, std::string::npos);
    text.insert(end,
                "<p class=values title='$MESSAGE_SUBJECT$' lang=$MESSAGE_FROM$>"
                "<a href='$MESSAGE_OTHER(Homepage)$' title=\"$MESSAGE_CONTENT$\">h</a>"
                "<a href=$MESSAGE_OTHER(Homepage)$>h</a><a href=\"$MESSAGE_MAIL$\">m</a>"
                "<img alt='' src=\"$MESSAGE_OTHER(Homepage)$\">"
                "<i title=\"$MESSAGE_SUBJECT$ $MESSAGE_FROM$ $MESSAGE_OTHER(Homepage)$ "
                "$Prev.MESSAGE_SUBJECT$ $Next.MESSAGE_SUBJECT$\">x</i></p>\r\n");
    test::WriteFileBytes(path, text);
  }

  std::string Header(const std::string& text) const {
    constexpr std::size_t kLongest = 600;
    std::string line = text.substr(0, kLongest);
    if (!decodes_) {
      std::replace_if(
          line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; },
          ' ');
      return line;
    }
    std::string words;
    constexpr std::size_t kWord = 45;
    for (std::size_t at = 0; at < line.size(); at += kWord) {
      words += (words.empty() ? "" : "\r\n ");
      words += "=?utf-8?B?" + Base64(line.substr(at, kWord)) + "?=";
    }
    return words;
  }

  std::string Post(const std::string& attempt) const {
    const std::string name = decodes_ ? Header(attempt) : "\"" + Header(attempt) + "\"";
    std::string file = Header(attempt + ".png");
    for (std::size_t at = 0; !decodes_ && (at = file.find('"', at)) != std::string::npos; at += 6) {
      file.replace(at, 1, "&quot;");
    }
    return "From: " + name +
           " <visitor@example.org>\r\nTo: \"[My:Talk]\" <board@example.org>\r\n"
           "Subject: " +
           Header(attempt) +
           "\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"=b=\"\r\n\r\n"
           "--=b=\r\nContent-Type: text/html; charset=utf-8\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           Folded(Base64(attempt)) +
           "--=b=\r\nContent-Type: application/x-www-form-urlencoded\r\n\r\n"
           "Homepage=" +
           UrlEncoded(attempt.substr(0, 250)) +
           "\r\n"
           "--=b=\r\nContent-Type: application/octet-stream; name=\"" +
           file +
           "\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\nR0lGODlh\r\n--=b=--\r\n";
  }
  std::string Link(const std::string& attempt, std::size_t number) const {
    return LinkOf(
        std::to_string(number) + " " + attempt.substr(0, 150) + " at " + attempt.substr(0, 200),
        attempt);
  }
  std::string LinkOf(const std::string& subject, const std::string& text) const {
    return "From: visitor@example.org\r\nTo: \"[My:Links]\" <board@example.org>\r\nSubject: " +
           Header(subject) +
           "\r\nMIME-Version: 1.0\r\n"
           "Content-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
           Folded(Base64(text));
  }

  void PostAll(const std::vector<std::string>& attempts) {
    server_->Add(Post("A harmless text"));
    server_->Add(Link("https://example.org/", 0));
    for (std::size_t i = 0; i < attempts.size(); ++i) {
      server_->Add(Post(attempts[i]));
      server_->Add(Link(attempts[i], i + 1));
    }
    const test::ProgramResult run = RunHost({"run", board_, "retrieve", "html"});
    ASSERT_EQ(run.exitCode, 0) << run.output;
    ASSERT_TRUE(server_->Messages().empty()) << run.output;
  }
  std::string Site() const { return board_ + "/Site"; }
  // The extensions of the site's files.
  std::set<std::string> Extensions() const {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(Site())) {
      found.insert(entry.path().extension().string());
    }
    return found;
  }
  std::size_t Count(const std::string& begin) const {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(Site())) {
      count += entry.path().filename().string().starts_with(begin) ? 1 : 0;
    }
    return count;
  }
  void ExpectNoHarm() {
    const test::ProgramResult result = Look("attack", Site());
    EXPECT_EQ(result.exitCode, 0) << result.output.substr(0, 20000);
  }

  test::TemporaryDirectory directory_;
  std::string board_ = directory_ / "board";
  std::unique_ptr<test::Pop3Server> server_;
  bool decodes_ = true;
};

TEST_F(HostileMail, DoesNoHarm) {
  const std::vector<std::string> attempts = Attempts();
  ASSERT_GE(attempts.size(), 300U);
  MakeBoard(true);
  AddValuesToTemplate();
  PostAll(attempts);
  EXPECT_EQ(Count("message--f--talk--"), attempts.size() + 1);
  EXPECT_EQ(Count("link--l--links--"), attempts.size() + 1);
  EXPECT_THAT(Extensions(), ::testing::IsSubsetOf({".bin", ".css", ".htm", ".png"}));
  ExpectNoHarm();
}

TEST_F(HostileMail, DoesNoHarmWhenItsTextIsNotDecoded) {
  MakeBoard(false);
  AddValuesToTemplate();
  PostAll(Attempts());
  EXPECT_THAT(Extensions(), ::testing::IsSubsetOf({".bin", ".css", ".htm", ".png"}));
  ExpectNoHarm();
}

// The check sees what is there to be seen.
TEST_F(HostileMail, DoesHarmWithoutSafeHtml) {
  MakeBoard(true);
  Set("Safe HTML", "0");
  PostAll({"<script>alert(1)</script>", "<img src=http://evil.example/x.png>",
           "<a href=javascript:alert(1)>x</a>", "</div></article></main><p>x</p>"});
  const test::ProgramResult result = Look("attack", Site());
  EXPECT_EQ(result.exitCode, 1) << result.output;
  for (const char* told : {"--2.htm: a script ran", "--3.htm: asked for http://evil.example/x.png",
                           "--4.htm: href leads to javascript:", "--5.htm: is built otherwise"}) {
    EXPECT_THAT(result.output, ::testing::HasSubstr(told));
  }
}

TEST_F(HostileMail, HarmlessMarkupLooksAsWithoutSafeHtml) {
  MakeBoard(true);
  server_->Add(LinkOf("Sample at https://example.org/", Vectors("harmless.txt")));
  Expect({"run", board_, "retrieve", "html"});
  const std::string safe = directory_ / "safe";
  fs::copy(Site(), safe);
  Set("Safe HTML", "0");
  Expect({"run", board_, "html"});
  const std::string page = "/link--l--links--1.htm";
  ASSERT_NE(test::ReadFileBytes(Site() + page), test::ReadFileBytes(safe + page));
  const test::ProgramResult result = Look("alike", Site(), safe);
  EXPECT_EQ(result.exitCode, 0) << result.output;
}

}  // namespace
