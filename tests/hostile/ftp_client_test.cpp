// The FTP client against servers that answer as they like.
#include "ftp_options.h"
#include "net/waiting.h"
#include "protocols.h"
#include "sessions.h"
#include "support/process_facts.h"
#include "support/temporary_directory.h"

#include <brevant/ftp.h>

#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>

namespace hostile {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostRead = 2U << 20;

class FtpSession {
 public:
  FtpSession(unsigned seed, const test::TemporaryDirectory& directory)
      : random_(seed), habits_(FtpHabits(random_)), log_(seed, habits_), directory_(directory) {
    fs::remove_all(directory_ / "remote");
    fs::create_directories(directory_ / "remote/dir");
    for (const char* name : {"a.htm", "b.htm", "dir/c.htm"}) {
      test::WriteFileBytes(directory_ / (std::string("remote/") + name), "content of a file\n");
    }
    test::WriteFileBytes(directory_ / "local", "local");
    options_ = FtpServerOptions(seed, random_, habits_.rate);
  }

  std::vector<std::string> Run() {
    {
      test::FtpServer server(directory_ / "remote", options_);
      server.Server().SabotageBy(log_.Saboteurs());
      client_.SetTimeout(kTimeout);
      if (random_.OneIn(2)) client_.Status() |= kStatusStandardMode;
      for (int tries = 0; tries < 2; ++tries) {
        const TSecurityInfos security("me", "secret");
        if (client_.Connect("127.0.0.1", security, server.Port()) == 0) continue;
        for (unsigned steps = 12; steps > 0 && Usable(); --steps) Step();
      }
      client_.Disconnect();
    }
    CheckLines();
    for (const auto& entry : fs::directory_iterator(directory_.Path())) {
      const std::string name = entry.path().filename().string();
      if (name != "remote" && name != "local") Problem("a new file " + name);
    }
    return problems_;
  }

 private:
  void Problem(const std::string& text) { problems_.push_back(text); }
  bool Usable() {
    brevant::ResetDeadline();  // after a time-out the next wait would last a second
    return (client_.Status() & kStatusConnected) != 0;
  }

  const char* Path() {
    constexpr const char* kPaths[] = {"a.htm", "b.htm", "dir", "dir/c.htm", "new", "dir\\d.htm"};
    return random_.Of(kPaths);
  }

  void Step() {
    if (random_.OneIn(2)) {
      client_.Status() |= kStatusPassive;
    } else {
      client_.Status() &= ~kStatusPassive;
    }
    switch (random_.Below(12)) {
      case 0:
        client_.SetType(random_.OneIn(2) ? "I" : "A");
        break;
      case 1:
        client_.ChangeDirectory(random_.OneIn(3) ? "/" : Path());
        break;
      case 2:
        client_.MakeDirectory(Path());
        break;
      case 3:
        client_.DeleteResource(Path());
        break;
      case 4:
        client_.RenameResource(Path(), Path());
        break;
      case 5:
        client_.DeleteDirectory("dir", random_.OneIn(2) ? 1 : 0);
        break;
      case 6:
        client_.ExecuteCommand("CHMOD 644 a.htm");
        break;
      case 7:
      case 8:
        List();
        break;
      case 9:
        Store();
        break;
      default:
        Fetch();
    }
  }

  void List() {
    TFTPSearcher searcher(&client_, random_.OneIn(2) ? "*.*" : "*.htm",
                          static_cast<int>(random_.Below(2)));
    int entries = 0;
    for (int found = searcher.GetFirst(); found != 0; found = searcher.GetNext()) {
      const std::string& name = searcher.name;
      const bool bad = name.empty() || name == "." || name == ".." ||
                       name.find_first_of("/\\\r\n") != std::string::npos;
      if (bad) Problem("an entry " + test::Quote(name));
      ++entries;
    }
    if (entries > 0 && searcher.ListComplete() == 0) Problem("entries of a list that is not whole");
  }

  void Store() {
    if (client_.OpenResource(Path(), kOpenForWriting) == 0) return;
    const std::string block(1 + random_.Below(random_.OneIn(4) ? 300000 : 3000), 'u');
    if (random_.OneIn(3)) {
      client_.Put((directory_ / "local").c_str());
    } else {
      client_.Write(block.data(), static_cast<int>(block.size()));
    }
    if (!random_.OneIn(10)) client_.Close();
  }

  void Fetch() {
    const bool opened =
        random_.OneIn(3)
            ? client_.OpenResourceIfNewer(Path(), kOpenForReading, TTime(1999, 1, 1, 0, 0, 0)) != 0
            : client_.OpenResource(Path(), kOpenForReading) != 0;
    if (!opened) return;
    std::array<char, 4096> block;
    std::size_t all = 0;
    for (int count = 1; count > 0 && all < kMostRead; all += static_cast<std::size_t>(count)) {
      count = client_.Read(block.data(), static_cast<int>(block.size()));
      if (count < 1) break;
    }
    if (!random_.OneIn(10)) client_.Close();
  }

  // Whatever the server says, the client says what its caller wants.
  void CheckLines() {
    static const std::regex kKnown(
        "(USER me|PASS secret|TYPE [AI]|(CWD|MKD|RMD|DELE|RNFR|RNTO|STOR|RETR) .+|LIST.*|NLST|PASV|"
        "PORT 127,0,0,1,[0-9]+,[0-9]+|SITE CHMOD 644 a.htm|QUIT)\r\n");
    for (const auto& conversation : log_.Conversations()) {
      for (const Event& event : conversation->events) {
        if (event.kind != Event::Kind::kLine) continue;
        // Names of a listing may hold any byte, which the expression does not take for a character,
        // and be long.
        const bool named = event.text.starts_with("DELE ") &&
                           event.text.find_first_of("\r\n") >= event.text.size() - 2;
        if (!named && !std::regex_match(event.text, kKnown))
          Problem("the client said " + test::Quote(event.text));
      }
    }
  }

  Random random_;
  Habits habits_;
  SessionLog log_;
  const test::TemporaryDirectory& directory_;
  test::FtpOptions options_;
  TFTP client_;
  std::vector<std::string> problems_;
};

TEST(HostileFtp, TheClientSurvivesEveryServer) {
  const test::TemporaryDirectory directory;
  RunSessions([&](unsigned seed) { return FtpSession(seed, directory).Run(); }, 120);
}

// Names that are shorter than what the client keeps of each.
TEST(HostileFtp, AListingWithoutEndTakesLittleMemory) {
  const test::TemporaryDirectory directory;
  std::string names;
  while (names.size() < 60000) names += "a\r\n";
  for (const long bytes : {3L << 20, 1L << 40}) {
    test::FtpOptions options;
    options.alterData = [&names](std::string* sent) { *sent = names; };
    options.dataFault = [bytes](int) {
      test::DataFault fault;
      fault.flood = bytes;
      return fault;
    };
    test::FtpServer server(directory.Path(), options);
    TFTP client;
    client.Status() |= kStatusPassive | kStatusStandardMode;
    ASSERT_EQ(client.Connect("127.0.0.1", TSecurityInfos("me", "secret"), server.Port()), 1);
    const long before = test::ResidentMemory();
    test::ForgetPeak();
    EXPECT_EQ(client.GetDirectoryList(1), 0) << bytes;
    EXPECT_LE(test::PeakMemory() - before, BREVANT_MEMORY_BOUND * 1024L) << "KiB";
    std::cout << "[          ] " << (test::PeakMemory() - before) / 1024 << " MiB\n";
    EXPECT_EQ(client.Status() & kStatusListComplete, 0U);
  }
}

}  // namespace
}  // namespace hostile
