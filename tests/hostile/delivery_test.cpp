// File delivery to servers that answer as they like: the remote file table claims nothing that the
// server did not confirm.
#include "board_checks.h"
#include "ftp_options.h"
#include "protocols.h"
#include "sessions.h"
#include "unit/shared/delivery_fixture.h"

#include <optional>

namespace hostile {
namespace {

namespace fs = std::filesystem;

class HostileDelivery : public test::Delivery {
 protected:
  void SetUp() override {
    Delivery::SetUp();
    UseOwnTemporaries(directory_);
    WaitBriefly();
  }
  void TearDown() override {
    Delivery::TearDown();
    UseSystemsTemporaries();
  }

  std::vector<std::string> Session(unsigned seed) {
    Random random(seed);
    const Habits habits = FtpHabits(random);
    problems_.clear();
    Renew(random);
    standard_ = random.OneIn(3) ? 0 : 1;
    indirect_ = random.OneIn(2);
    setup_->Number("Standard FTP Mode", DWORD{standard_ ? 1U : 0U});
    for (const char* key :
         {"Passive FTP Data Mode", "Deliver Every Folder", "Keep File Name Case"}) {
      setup_->Number(key, DWORD{random.Below(2)});
    }
    setup_->Number("Indirect FTP transfer", DWORD{indirect_ ? 1U : 0U});
    Set("FTP Shell Command", random.OneIn(4) ? "CHMOD 644 a" : "");
    // The second run meets what the first one left, as does the next one of a real board.
    const Files local = LocalFiles();
    Deliver(seed, habits, random, local, {});
    const Files known = Claimed();
    if (random.OneIn(2)) {
      Local("new.htm", "one more");
      RemoveLocal("b.htm");
      Local("a.htm", "changed content");
    }
    Deliver(seed + 500000, habits, random, LocalFiles(), known);
    return problems_;
  }

 private:
  // Path and size; of the local tree and of the table.
  using Files = std::map<std::string, DWORD>;

  // A site and a server as they were made.
  void Renew(Random& random) {
    for (const char* part : {"site", "remote"}) fs::remove_all(directory_ / part);
    fs::create_directories(directory_ / "remote/www");
    for (const std::string& file : {TablePath(), TablePath() + ".jnl", directory_ / "error.log"}) {
      fs::remove(file);
    }
    for (const char* name : {"a.htm", "b.htm", "sub/c.gif", "sub/deep/d.htm"}) {
      if (!random.OneIn(8)) Local(name, std::string(1 + random.Below(3000), 'x') + name);
    }
    fs::create_directories(directory_ / "site");
  }

  void Deliver(unsigned seed, const Habits& habits, Random& random, const Files& local,
               const Files& known) {
    SessionLog log(seed, habits);
    Serve(FtpServerOptions(seed, random, habits.rate));
    server_->Server().SabotageBy(log.Saboteurs());
    test::Shown::Clear();
    MakeDue();
    {
      TFileDeliveryTask task(setup_, state_);
      task.Client().SetTimeout(kTimeout);
      task.Execute();
    }
    server_.reset();
    Check(log, local, known);
  }

  void Check(const SessionLog& log, const Files& local, const Files& known) {
    if (LocalFiles() != local) Problem("the site is another");
    for (const std::string& name :
         Strangers(directory_, {"site", "remote", "127.0.0.1.fat", "127.0.0.1.fat.jnl"}))
      Problem("a new file: " + name);
    for (const auto& conversation : log.Conversations()) {
      if (conversation->lied) return;  // what a server says it has, it has said
    }
    const std::multiset<std::string> confirmed = Confirmed(log);
    for (const auto& [path, size] : Claimed()) {
      const auto before = known.find(path);
      // A size of 0 stands for a transfer that was cut short.
      const bool kept = size == 0 || (before != known.end() && before->second == size);
      const std::string name = fs::path(path).filename().string();
      // Without standard mode no reply at the end of a transfer counts.
      if (!kept && standard_ && !confirmed.contains(name))
        Problem("the table has " + path + " of " + std::to_string(size) + " bytes, unconfirmed");
      if (!local.contains(path) && !known.contains(path)) Problem("the table has " + path);
    }
  }

  // The names of the files after whose transfer, or last renaming, the server said "2..".
  std::multiset<std::string> Confirmed(const SessionLog& log) const {
    std::multiset<std::string> confirmed;
    for (const auto& conversation : log.Conversations()) {
      std::optional<std::string> waiting;
      for (const Event& event : conversation->events) {
        if (event.kind == Event::Kind::kSent) {
          if (waiting && RepliesOf('2', event.text) > 0) confirmed.insert(*waiting);
          continue;
        }
        const std::string argument = Argument(event.text);
        if (event.text.starts_with("STOR ") || event.text.starts_with("RNTO ")) {
          waiting = argument;
        } else {
          waiting.reset();
        }
      }
    }
    return confirmed;
  }
  static std::string Argument(const std::string& line) {
    const std::size_t blank = std::min(line.find(' '), line.size() - 1);
    return line.substr(blank + 1, line.find_first_of("\r\n") - blank - 1);
  }

  Files LocalFiles() const {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(directory_ / "site")) {
      if (entry.is_regular_file())
        files[entry.path().lexically_relative(directory_ / "site").generic_string()] =
            static_cast<DWORD>(entry.file_size());
    }
    return files;
  }
  Files Claimed() const {
    Files files;
    TRemoteFAT table(TablePath().c_str());
    for (const char* folder : {"", "sub/", "sub/deep/"}) {
      const TRemoteDirectoryRecord* record =
          table.RemoteDirectoryRecord((std::string("~me/www/") + folder).c_str());
      for (const TRemoteFileRecord& file : record->Files()) files[folder + file.name] = file.size;
    }
    return files;
  }

  void Problem(const std::string& text) { problems_.push_back(text); }

  bool standard_ = false;
  bool indirect_ = false;
  std::vector<std::string> problems_;
};

TEST_F(HostileDelivery, TheTableClaimsNothingUnconfirmed) {
  RunSessions([this](unsigned seed) { return Session(seed); }, 80);
}

}  // namespace
}  // namespace hostile
