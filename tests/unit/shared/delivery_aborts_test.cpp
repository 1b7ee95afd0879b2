// Delivery that is aborted: what it says of the server is true, and the next one goes on.
#include "delivery_fixture.h"
#include "shared/file_checksum.h"

#include <atomic>

namespace {

using test::Delivery;
using test::FtpOptions;

TEST_F(Delivery, AnAbortBeforeTheLogOnDoesNotConnect) {
  Serve();
  Local("a.htm", "first");
  TFileDeliveryTask task(setup_, state_);
  task.Abort();
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(Connections(), 0);
  EXPECT_TRUE(History().empty());
}

// The table is written back, and nothing is recorded that did not arrive as a whole.
TEST_F(Delivery, AnAbortDuringATransferLeavesNoHalfFileRecorded) {
  TFileDeliveryTask* running = nullptr;
  int transfers = 0;
  FtpOptions options;
  options.onCommand = [&](const std::string& line) {
    if (line.starts_with("STOR")) ++transfers;
  };
  options.onData = [&](long) {
    if (transfers == 2) running->Abort();
  };
  Serve(options);
  Local("a.htm", "first");
  Local("b.htm", std::string(30000000, 'b'));
  Local("c.htm", "third");
  TFileDeliveryTask task(setup_, state_);
  running = &task;
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(Recorded("a.htm"), "5");
  EXPECT_EQ(Recorded("b.htm"), "none");
  EXPECT_EQ(Recorded("c.htm"), "none");
  EXPECT_EQ(TransferTime(), 0U);
  transfers = -100;
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"b.htm", "c.htm"}));
  ExpectSameTrees();
}

// Whether the table has the site's file as it is.
bool IsRecorded(const std::string& table, const std::string& name, const std::string& bytes) {
  const std::string line = "\n" + name + "=" + std::to_string(bytes.size()) + "," +
                           std::to_string(brevant::FileChecksum(bytes.data(), bytes.size())) + "\r";
  return table.find(line) != std::string::npos;
}

TEST_F(Delivery, AnAbortAtAnyCommandIsMadeGoodByTheNextRun) {
  int last = 0;
  for (const bool indirect : {false, true}) {
    Switch("Indirect FTP transfer", indirect);
    int result = 0;
    for (int first = last; result == 0; ++last) {
      SCOPED_TRACE(last - first);
      std::atomic<TFileDeliveryTask*> running = nullptr;
      int left = last - first;
      FtpOptions options;
      options.onCommand = [&](const std::string& line) {
        // The task does not wait for what becomes of "QUIT".
        if (line != "QUIT" && running != nullptr && left-- == 0) running.load()->Abort();
      };
      Serve(options);
      const std::map<std::string, std::string> files = {
          {"changed.htm", "changed " + std::to_string(last)},
          {"new" + std::to_string(last) + ".htm", "new"},
          {"sub/changed2.htm", std::to_string(last)}};
      RemoveLocal("new" + std::to_string(last - 1) + ".htm");
      for (const auto& [name, bytes] : files) Local(name, bytes);
      MakeDue();
      {
        TFileDeliveryTask task(setup_, state_);
        running = &task;
        result = task.Execute();
        running = nullptr;
      }
      for (const auto& [name, bytes] : files) {
        const std::string key = name.substr(name.find('/') + 1);
        if (IsRecorded(Table(), key, bytes)) {
          EXPECT_EQ(Remote(name), bytes) << name;
        }
      }
      EXPECT_EQ(TransferTime() != 0, result == 1);
      EXPECT_EQ(Run(), 1);
      ExpectSameTrees();
      server_.reset();
    }
  }
  EXPECT_GT(last, 30);
}

TEST_F(Delivery, AnAbortAtTheEndOfATransferDoesNotCountItAsArrived) {
  TFileDeliveryTask* running = nullptr;
  FtpOptions options;
  options.deviations = {test::ParseDeviation("STOR-END 1 delay 300")};
  options.onData = [&](long) { running->Abort(); };
  Serve(options);
  Local("a.htm", "first");
  TFileDeliveryTask task(setup_, state_);
  running = &task;
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(Recorded("a.htm"), "none");
}

TEST_F(Delivery, AfterAnAbortTheNextRunGoesOnBelowUnchangedDirectories) {
  TFileDeliveryTask* running = nullptr;
  FtpOptions options;
  options.onCommand = [&](const std::string& line) {
    if (running != nullptr && line == "STOR b.htm") running->Abort();
  };
  Serve(options);
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  Local("zoo/c.htm", "third");
  {
    TFileDeliveryTask task(setup_, state_);
    running = &task;
    EXPECT_EQ(Run(task), 0);
    running = nullptr;
  }
  EXPECT_TRUE(HasJournal());
  EXPECT_EQ(Run(), 1);
  EXPECT_FALSE(HasJournal());
  ExpectSameTrees();
}

}  // namespace
