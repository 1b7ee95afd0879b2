// Mail of standard mode as a strict reader of another make reads it.
#include "support/process.h"
#include "unit/shared/dispatch_fixture.h"

#include <map>
#include <sstream>

namespace {

using TFields = std::map<std::string, std::string>;

std::string FromHexadecimal(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

class StrictReader : public test::DispatchFixture {
 protected:
  void SetUp() override {
    DispatchFixture::SetUp();
    UseStandardMode();
    test::SmtpOptions options;
    options.strictPaths = true;
    Serve(options);
  }

  // Sends what was posted, and what the reader sees of each mail.
  std::vector<TFields> ReadAll() {
    EXPECT_EQ(Run(), 1);
    std::vector<std::string> command = {BREVANT_PYTHON, BREVANT_READ_MAIL};
    int number = 0;
    for (const test::SmtpMail& mail : Mails()) {
      command.push_back(directory_ / "mail" + std::to_string(++number));
      test::WriteFileBytes(command.back(), mail.content);
    }
    const test::ProgramResult result = test::RunProgram(command);
    EXPECT_EQ(result.exitCode, 0) << result.output.substr(
        result.output.size() - std::min<std::size_t>(result.output.size(), 3000));
    std::vector<TFields> mails;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      TFields fields;
      for (std::string word; words >> word;) {
        const std::size_t colon = word.find(':');
        fields[word.substr(0, colon)] = FromHexadecimal(word.substr(colon + 1));
      }
      mails.push_back(fields);
    }
    return mails;
  }
};

TEST_F(StrictReader, SeesEveryFieldOfAPlainPost) {
  AddForum("General Talk", {"one@lists.org"});
  Post("General Talk", "First post", "Hello\r\n\r\nworld\r\n");
  const auto mails = ReadAll();
  ASSERT_EQ(mails.size(), 1u);
  EXPECT_EQ(mails[0], (TFields{{"subject", "First post"},
                               {"bbs", "My Board"},
                               {"from-name", "Ann Smith"},
                               {"from", "board@example.org"},
                               {"reply-to-name", "Ann Smith"},
                               {"reply-to", "ann@example.org"},
                               {"to-name", "[My_Board:General_Talk]"},
                               {"to", "board@example.org"},
                               {"text", "Hello\n\nworld\n"}}));
}

TEST_F(StrictReader, SeesTextsAsTheCharactersThatTheyAre) {
  AddForum("General", {"one@lists.org"});
  const std::string texts[] = {
      "plain",
      "Gr\xC3\xBC\xC3\x9F"
      "e",
      "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xE4\xB8\x96\xE7\x95\x8C \xF0\x9F\x98\x80",
      "a, b; c: <d> @e (f) [g] \"h\" \\i .j",
      "=?utf-8?Q?not_an_encoded_word?=",
      " blanks  inside ",
      "100% = ?x?= y",
      "Re: [My_Board:General] trailing.",
      "\xC3\xA4 " + std::string(100, 'x'),
      std::string(110, 'y')};
  std::vector<std::string> names;
  for (const std::string& text : texts) {
    std::string name;
    for (const char c : text) {
      // The address behind it needs room, too.
      if (c != '"' && c != '<' && c != '>' && name.size() < 80) name += c;
    }
    Post("General", text, "x\r\n",
         {{"FROM", "\"" + name + "\" <ann@example.org>"}, {"Header Charset", "utf-8"}});
    names.push_back(name);
  }
  const auto mails = ReadAll();
  ASSERT_EQ(mails.size(), std::size(texts));
  for (std::size_t i = 0; i < mails.size(); ++i) {
    EXPECT_EQ(mails[i].at("subject"), texts[i]);
    // Blanks around a name are no part of it.
    const std::size_t first = names[i].find_first_not_of(' ');
    const std::string name = names[i].substr(first, names[i].find_last_not_of(' ') + 1 - first);
    EXPECT_EQ(mails[i].at("from-name"), name);
    EXPECT_EQ(mails[i].at("reply-to-name"), name);
    EXPECT_EQ(mails[i].at("reply-to"), "ann@example.org");
  }
}

TEST_F(StrictReader, SeesBodiesAsTheCharactersThatTheyAre) {
  struct TRow {
    std::string content;
    const char* charset;
    std::string text;  // as it is read, in UTF-8
  };
  std::string lines;
  for (int i = 0; i < 200; ++i) lines += "Line " + std::to_string(i) + " = \xC3\xA4 \t\n";
  const TRow rows[] = {
      {"plain\r\n", "us-ascii", "plain\n"},
      {".\r\n..\r\n.x\r\n\r\n.\r\n", "us-ascii", ".\n..\n.x\n\n.\n"},
      {"a\nb\rc\r\nd\n", "iso-8859-1", "a\nb\nc\nd\n"},
      {"Gr\xFC\xDF"
       "e\r\n",
       "iso-8859-1",
       "Gr\xC3\xBC\xC3\x9F"
       "e\n"},
      {"Price: 5 \xA4\r\n", "iso-8859-15", "Price: 5 \xE2\x82\xAC\n"},
      {"\x93quoted\x94\r\n", "iso-8859-1", "\xE2\x80\x9Cquoted\xE2\x80\x9D\n"},
      {lines, "utf-8", lines},
      {"Gr\xC3\xBC\xC3\x9F"
       "e, unlabelled\r\n",
       "",
       "Gr\xC3\xBC\xC3\x9F"
       "e, unlabelled\n"},
      {"\xF0\xD2\xC9\xD7\xC5\xD4\r\n", "koi8-r",
       "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82\n"},
      {std::string(5000, 'x') + "\r\n", "utf-8", std::string(5000, 'x') + "\n"},
      {"From the start\r\nFrom here\r\n", "us-ascii", "From the start\nFrom here\n"},
      {"tail \r\n\t\r\n \xC3\xA4\r\n", "utf-8", "tail \n\t\n \xC3\xA4\n"},
  };
  AddForum("General", {"one@lists.org"});
  for (const TRow& row : rows) Post("General", "x", row.content, {{"CHARSET", row.charset}});
  const auto mails = ReadAll();
  ASSERT_EQ(mails.size(), std::size(rows));
  for (std::size_t i = 0; i < mails.size(); ++i) EXPECT_EQ(mails[i].at("text"), rows[i].text);
}

TEST_F(StrictReader, SeesHtmlAsItsText) {
  AddForum("General", {"one@lists.org"});
  Post("General", "x", "<ul><li>\xE4 &euro; &#8364;<li>b &amp; c</ul>",
       {{"Document type", "text/html"}, {"CHARSET", "iso-8859-1"}});
  const auto mails = ReadAll();
  ASSERT_EQ(mails.size(), 1u);
  EXPECT_NE(mails[0].at("text").find("* \xC3\xA4"), std::string::npos) << mails[0].at("text");
  EXPECT_NE(mails[0].at("text").find("\xE2\x82\xAC"), std::string::npos);
  EXPECT_NE(mails[0].at("text").find("* b & c"), std::string::npos);
}

TEST_F(StrictReader, FindsNoFaultWithHostilePosts) {
  AddForum("General", {"one@lists.org"});
  const std::string hostile[] = {"a\r\nBcc: victim@x.org\r\n\r\nbody",
                                 "a\rb\nc\x01\x1F\x7F",
                                 "\xFF\xFE\x80 broken \xC3",
                                 "\xC2\x85\xE2\x80\xA8 line ends of other kinds",
                                 "=?utf-8?Q?=0D=0ABcc:_v@x.org?=",
                                 "=?utf-8?B?DQpCY2M6IHZAeC5vcmc=?=",
                                 "=?utf-8?Q?open",
                                 "\"",
                                 "\\",
                                 "(comment",
                                 "<",
                                 ">"};
  std::size_t posts = 0;
  for (const std::string& text : hostile) {
    for (const char* charset : {"", "utf-8", "x\r\ny"}) {
      const TValues headers = {{"FROM", "\"" + text + "\" <ann@example.org>"},
                               {"Header Charset", charset}};
      Post("General", text, text, headers);
      Post("General", text, text, {{"FROM", text}, {"CHARSET", text}});
      Post("General", "x", text, {{"FROM", "<" + text + "@example.org>"}, {"CHARSET", "utf-8"}});
      posts += 3;
    }
  }
  EXPECT_EQ(ReadAll().size(), posts);
}

TEST_F(StrictReader, FindsNoFaultWithForumsAndBoardsOfAnyName) {
  Set("BBS Name", "Caf\xC3\xA9 \"Zur Post\", <Berlin>");
  Set("BBS Short Name", "Caf\xC3\xA9");
  Set("E-Mail Address", "board@example.org@pop.example.org");
  const std::string names[] = {
      "\xC3\x9C"
      "ber uns",
      "A, B; C", "(x) [y]", std::string(80, 'n'), std::string(60, '-')};
  for (const std::string& name : names) {
    AddForum(name, {"one@lists.org"});
    Post(name, name, "x\r\n", {{"Header Charset", "utf-8"}});
  }
  const auto mails = ReadAll();
  ASSERT_EQ(mails.size(), std::size(names));
  for (const TFields& mail : mails) {
    std::string tag = "[Caf\xC3\xA9:" + mail.at("subject") + "]";
    std::replace(tag.begin(), tag.end(), ' ', '_');
    EXPECT_EQ(mail.at("to-name"), tag);
    EXPECT_EQ(mail.at("bbs"), "Caf\xC3\xA9 \"Zur Post\", <Berlin>");
    EXPECT_EQ(mail.at("to"), "\"board@example.org\"@pop.example.org");
  }
}

}  // namespace
