// Symbolic links in the site, and in the places of the remote table, while files are delivered.
#include "delivery_fixture.h"
#include "support/posix/outside.h"

namespace test {
namespace {

namespace fs = std::filesystem;

class LinksAndDelivery : public Delivery {
 protected:
  bool ArrivedAnywhere(const std::string& text) const {
    for (const auto& [name, bytes] : Tree(remote_)) {
      if (bytes.find(text) != std::string::npos) return true;
    }
    return false;
  }

  Outside outside_{"do not tell anybody"};
};

TEST_F(LinksAndDelivery, NothingOutsideIsUploaded) {
  Serve();
  Local("index.htm", "x");
  MakeLink(site_ + "secret.txt", outside_.Victim());
  MakeLink(site_ + "dangling.txt", outside_.Nothing());
  MakeLink(site_ + "directory", outside_.Path("inner"));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Tree(remote_), (std::map<std::string, std::string>{{"index.htm", "x"}}));
  EXPECT_TRUE(HistoryHas("Cannot open secret.txt (Local)"));
  EXPECT_TRUE(HistoryHas("Cannot open dangling.txt (Local)"));
  outside_.ExpectUntouched();
}

TEST_F(LinksAndDelivery, WhatTheServerHoldsUnderTheNameOfALinkStays) {
  Serve();
  Local("page.htm", "delivered before");
  EXPECT_EQ(Run(), 1);
  MakeLink(site_ + "page.htm", outside_.Victim());
  Local("index.htm", "x");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Remote("page.htm"), "delivered before");
  EXPECT_FALSE(ArrivedAnywhere("do not tell"));
}

TEST_F(LinksAndDelivery, ALinkInsideTheSiteIsDelivered) {
  Serve();
  Local("a/real.htm", "a page");
  fs::create_directory(site_ + "b");
  MakeLink(site_ + "b/link.htm", "../a/real.htm");
  MakeLink(site_ + "top.htm", site_ + "a/real.htm");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Remote("b/link.htm"), "a page");
  EXPECT_EQ(Remote("top.htm"), "a page");
}

TEST_F(LinksAndDelivery, TheSiteItselfMayBeALink) {
  Serve();
  Local("index.htm", "x");
  fs::rename(directory_ / "site", directory_ / "moved");
  MakeLink(directory_ / "site", "moved");
  MakeLink(directory_ / "moved/inside.htm", "index.htm");
  MakeLink(directory_ / "moved/out.htm", outside_.Victim());
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Tree(remote_),
            (std::map<std::string, std::string>{{"index.htm", "x"}, {"inside.htm", "x"}}));
}

TEST_F(LinksAndDelivery, ATableOutsideIsNeitherReadNorWritten) {
  WriteFileBytes(outside_.Path("table"), "[~me/www/]\r\nindex.htm=1,1\r\n");
  outside_.Remember();
  Local("index.htm", "x");
  for (const char* name : {"table", "nothing"}) {
    Serve();
    MakeLink(TablePath(), outside_.Path(name));
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(HistoryHas("Cannot open " + TablePath()));
    EXPECT_TRUE(server_->Commands().empty());
    outside_.ExpectUntouched();
    server_.reset();
  }
}

TEST_F(LinksAndDelivery, AJournalOutsideIsNeitherReadNorWritten) {
  Local("index.htm", "x");
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    Serve();
    MakeLink(TablePath() + ".jnl", target);
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(server_->Commands().empty());
    outside_.ExpectUntouched();
    server_.reset();
  }
}

TEST_F(LinksAndDelivery, ANewTableIsAlwaysANewFile) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    Serve();
    Local("index.htm", target);
    MakeLink(TablePath() + ".new~", target);
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(IsLink(TablePath()));
    EXPECT_NE(Recorded("index.htm"), "none");
    outside_.ExpectUntouched();
    server_.reset();
  }
}

}  // namespace
}  // namespace test
