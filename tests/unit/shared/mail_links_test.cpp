// Links that arrive by mail.
#include "board_reading.h"
#include "retrieval_fixture.h"

namespace {

class MailLinks : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    ASSERT_TRUE(test::MakeContainer<TLinkList>("Good Links", data_));
  }
  std::vector<test::Item> Links() const { return test::ItemsOf<TLinkList>("Good Links", data_); }

  static std::string Link(const std::string& subject, const std::string& more = "\nx\n",
                          const std::string& list = "Good_Links") {
    return "From: Ann <ann@example.org>\nTo: \"[My_Board:" + list +
           "]\" <board@example.org>\nSubject: " + subject + "\n" + more;
  }
  static std::string Form(const std::string& fields) {
    return "Content-Type: application/x-www-form-urlencoded\n\n" + fields + "\n";
  }
};

TEST_F(MailLinks, ASubjectGivesSubjectAddressAndSize) {
  Serve({Link("Home page at http://www.example.org/ is 12K", "\nA fine page.\n")});
  EXPECT_EQ(Run(), 1);
  const auto links = Links();
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].subject, "Home page");
  EXPECT_EQ(links[0].listedSubject, "Home page");
  EXPECT_EQ(links[0].linkAddress, "http://www.example.org/");
  EXPECT_EQ(links[0].size, 12);
  EXPECT_EQ(links[0].content, "A fine page.\r\n");
  EXPECT_EQ(links[0].from, "Ann <ann@example.org>");
  EXPECT_EQ(links[0].address, "ann@example.org");
  EXPECT_EQ(links[0].type, "text/plain");
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailLinks, HistoryAndStatusAreThoseOfAPost) {
  Serve({Link("Home page at http://x")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(History(),
            "Logged onto 127.0.0.1 successfully|"
            "Retrieved \"Home page at http://x\" successfully|");
  EXPECT_EQ(test::Shown::Status().back(), "Retrieving \"Home page at http://x\"");
}

TEST_F(MailLinks, WithoutAnAddressTheSubjectIsBoth) {
  Serve({Link("Home page")});
  EXPECT_EQ(Run(), 1);
  const auto links = Links();
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].subject, "Home page");
  EXPECT_EQ(links[0].linkAddress, "Home page");
  EXPECT_EQ(links[0].size, 0);
}

TEST_F(MailLinks, AFormsAddressKeepsTheSubjectWhole) {
  Serve({Link("posted", Form("Subject=Meet+at+noon&Address=http%3A%2F%2Fx%2F&Size=7&"
                             "Content=About+it"))});
  EXPECT_EQ(Run(), 1);
  const auto links = Links();
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].subject, "Meet at noon");
  EXPECT_EQ(links[0].linkAddress, "http://x/");
  EXPECT_EQ(links[0].size, 7);
  EXPECT_EQ(links[0].content, "About it");
}

TEST_F(MailLinks, AFormsEmptyAddressIsNone) {
  Serve({Link("posted", Form("Subject=Page+at+http%3A%2F%2Fx&Address="))});
  EXPECT_EQ(Run(), 1);
  const auto links = Links();
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].subject, "Page");
  EXPECT_EQ(links[0].linkAddress, "http://x");
}

TEST_F(MailLinks, ALinkOfTheSameSubjectIsReplaced) {
  Serve({Link("Page at http://old is 1K"), Link("Other at http://other"),
         Link("PAGE at http://new is 2K")});
  EXPECT_EQ(Run(), 1);
  const auto links = Links();
  ASSERT_EQ(links.size(), 2u);
  EXPECT_EQ(links[0].index, 1u);
  EXPECT_EQ(links[0].linkAddress, "http://new");
  EXPECT_EQ(links[0].size, 2);
  EXPECT_EQ(links[1].linkAddress, "http://other");
}

TEST_F(MailLinks, TheCopyRecipientsCountWhenToDoesNotMatch) {
  Serve({"From: a@b\nTo: c@d\nCc: \"[my:good_links]\" <x@y>\nSubject: P at http://x\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Links().size(), 1u);
}

TEST_F(MailLinks, AnUnknownListStaysInTheMailbox) {
  Serve({Link("a at b", "\nx\n", "No_Links"), Link("a at b", "\nx\n", "Resource_list"),
         "From: a@b\nTo: \"[Your_Board:Good_Links]\" <x@y>\nSubject: P at http://x\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 3u);
  EXPECT_TRUE(HistoryHas("Found no new message"));
}

TEST_F(MailLinks, AForumOfThatNameGoesFirst) {
  ASSERT_TRUE(test::MakeForum("Good Links", data_));
  Serve({Link("Page at http://x")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("Good Links", data_), "Page at http://x;");
  EXPECT_TRUE(Links().empty());
}

TEST_F(MailLinks, AForumInTheCopyRecipientsGoesBeforeTheListInTo) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"Cc: \"[My_Board:General:42]\" <x@y>\n" + Link("Page at http://x")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(Links().empty());
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].subject, "Page at http://x");
  EXPECT_EQ(items[0].linkId, 42u) << "of the header that named the forum";
}

TEST_F(MailLinks, AMailingListToReplyToGoesBeforeTheList) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  ASSERT_TRUE(test::AddListAddress("General", data_, "list@example.org"));
  Serve({"Reply-to: list@example.org\n" + Link("Page at http://x")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(Links().empty());
  EXPECT_EQ(test::SubjectsOf("General", data_), "Page at http://x;");
}

TEST_F(MailLinks, AnUnknownForumFallsThroughToTheMailingListAndToTheListInTheCopyRecipients) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  ASSERT_TRUE(test::AddListAddress("General", data_, "list@example.org"));
  Serve({"Reply-to: list@example.org\n" + Post("Nowhere", "reply"),
         "Cc: \"[My_Board:Good_Links]\" <x@y>\n" + Post("Nowhere", "Page at http://x")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "reply;");
  ASSERT_EQ(Links().size(), 1u);
  EXPECT_EQ(Links()[0].subject, "Page");
}

TEST_F(MailLinks, AResourceListTakesLinksWhereNoLinkListHasTheName) {
  ASSERT_TRUE(test::MakeContainer<TContributor>("Good Links", data_));
  ASSERT_TRUE(test::MakeContainer<TContributor>("Articles", data_));
  Serve({Link("One at http://x"), Link("Two at http://y", "\nx\n", "Articles")});
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Links().size(), 1u);
  EXPECT_TRUE(test::ItemsOf<TContributor>("Good Links", data_).empty());
  const auto articles = test::ItemsOf<TContributor>("Articles", data_);
  ASSERT_EQ(articles.size(), 1u);
  EXPECT_EQ(articles[0].subject, "Two");
}

TEST_F(MailLinks, AThirdTagPartMeansNothing) {
  Serve({Link("Page at http://x", "\nx\n", "Good_Links:5")});
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Links().size(), 1u);
  EXPECT_EQ(Links()[0].linkId, 0u);
}

TEST_F(MailLinks, SubscribeIsASubjectLikeAnyOther) {
  Serve({Link("Subscribe")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Links().size(), 1u);
}

TEST_F(MailLinks, AttachmentsAreNeverKept) {
  setup_->Number("Allow attachment - forum", 1);
  Serve({Link("Page at http://x",
              "Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: text/plain\n\n"
              "text\n--b\nContent-Type: application/octet-stream\nContent-Disposition: attachment; "
              "filename=\"a.txt\"\n\nx\n--b\nContent-Type: image/gif; name=\"a.gif\"\n\nGIF\n"
              "--b--\n")});
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Links().size(), 1u);
  EXPECT_TRUE(Links()[0].attachments.empty());
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(MailLinks, AListThatCannotBeOpenedIsReportedAndItsMailDeleted) {
  test::WriteFileBytes(data_ + "Broken.mwf", "no document");
  Serve({Link("a at b", "\nx\n", "Broken")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Broken]"));
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailLinks, KeepUnsavedMailLeavesItInTheMailbox) {
  test::WriteFileBytes(data_ + "Broken.mwf", "no document");
  setup_->Number("Keep Unsaved Mail", 1);
  Serve({Link("a at b", "\nx\n", "Broken")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailLinks, WhatCannotBeCommittedStaysInTheMailbox) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "kept"), Link("lost at http://x")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(
      [count = 0](TStorage& storage) mutable { return ++count == 2 ? 0 : storage.Commit(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Good Links]"));
  EXPECT_TRUE(Sent("RSET"));
  ASSERT_EQ(Left(), 1u);
  EXPECT_NE(server_->Messages()[0].find("Subject: lost"), std::string::npos);
}

TEST_F(MailLinks, AMessageThatBreaksOffIsNotFiled) {
  Serve({Link("Page at http://x", "\n" + std::string(9000, 'x') + "\n")},
        {test::ParseDeviation("RETR 1 drop 3000")});
  EXPECT_EQ(Run(2000), 1);
  EXPECT_TRUE(HistoryHas("Cannot retrieve \"Page at http://x\""));
  EXPECT_TRUE(Links().empty());
  EXPECT_EQ(Left(), 1u);
}

}  // namespace
