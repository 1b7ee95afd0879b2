// Votes that arrive by mail.
#include "board_reading.h"
#include "retrieval_fixture.h"

namespace {

class MailVotes : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    MakeQuestion("Best colour", {"Red", "Deep blue"});
    MakeQuestion("Again", {"Yes", "No"});
  }

  void MakeQuestion(const std::string& name, const std::vector<std::string>& answers,
                    const std::string& charset = "") {
    TSurveyQuestion* question = CreateSurveyQuestion(name.c_str(), data_.c_str());
    ASSERT_NE(question, nullptr);
    for (const std::string& text : answers) {
      TMail* answer = OpenAnswer(0, nullptr);
      answer->String("SUBJECT", text.c_str());
      if (!charset.empty()) answer->String("Header Charset", charset.c_str());
      EXPECT_NE(InsertAnswer(answer, question), 0u);
      CloseAnswer(answer);
    }
    CloseSurveyQuestion(question);
  }

  static std::string Vote(const std::string& more, const std::string& from = "Ann <ann@x>",
                          const std::string& word = "Survey") {
    return "From: " + from + "\nTo: \"[My_Board:" + word + "]\" <board@example.org>\nSubject: v\n" +
           more + "\n";
  }
  static std::string Form(const std::string& fields) {
    return "Content-Type: application/x-www-form-urlencoded\n\n" + fields;
  }

  // "Red 1, Deep blue 0 of 1"
  std::string Votes(const std::string& name = "Best colour") const {
    TSurveyQuestion question;
    if (question.Open(name.c_str(), data_.c_str(), 2, 0, 16) == 0) return "none";
    std::string text;
    for (const test::Item& answer : test::ItemsOf(question)) {
      text += (text.empty() ? "" : ", ") + answer.subject + " " + std::to_string(answer.votes);
    }
    return text + " of " + std::to_string(question.Number("Total Vote Count"));
  }
  // "key=value;" of every voter.
  std::string Voters(const std::string& name = "Best colour") const {
    TSurveyQuestion question;
    if (question.Open(name.c_str(), data_.c_str(), 2, 0, 16) == 0) return "none";
    if (question.OpenList("Voter E-mail", 128) == 0) return "no list";
    std::string text;
    char key[128];
    char value[128];
    while (question.ReadNextListItem(key, sizeof key, value, sizeof value) == 1) {
      text += std::string(key) + "=" + value + ";";
    }
    question.CloseList();
    return text;
  }
  // What was sent from RSET on: "RSET DELE 2 QUIT ".
  std::string CommandsBehindReading() const {
    std::string text = server_->Transcript();
    text.erase(0, std::min(text.find("RSET"), text.size()));
    std::erase(text, '\n');
    std::replace(text.begin(), text.end(), '\r', ' ');
    return text;
  }
};

TEST_F(MailVotes, AnEncodedFormVotes) {
  Serve({Vote(Form("Best+colour=Deep+blue"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 1 of 1");
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailVotes, AVoteIsReportedButIsNoHandledMessage) {
  Serve({Vote(Form("Best+colour=Red"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(History(),
            "Logged onto 127.0.0.1 successfully|Retrieved form from Ann <ann@x> successfully|"
            "Found no new message|");
}

TEST_F(MailVotes, APartOfTheMailMayBeTheForm) {
  Serve(
      {Vote("Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: text/plain\n\n"
            "My vote:\n--b\nContent-Type: application/x-www-form-urlencoded\n\nAgain=Yes\n--b--")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 1, No 0 of 1");
}

TEST_F(MailVotes, TheFormMayBeTheAttachedFile) {
  Serve(
      {Vote("Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: "
            "application/octet-stream\nContent-Disposition: attachment; "
            "filename=\"PostData.Att\"\n\nBest+colour=Red&Again=No\n--b--")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 1, Deep blue 0 of 1");
  EXPECT_EQ(Votes("Again"), "Yes 0, No 1 of 1");
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(MailVotes, TheFormMayBeLinesOfTheMailsText) {
  Serve({Vote("\nBest colour=Deep blue\nAgain=Yes\nSubmit=Vote\n\n-- \nSent by a browser")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 1 of 1");
  EXPECT_EQ(Votes("Again"), "Yes 1, No 0 of 1");
}

TEST_F(MailVotes, TheFormMayBeOneEncodedLineOfTheMailsText) {
  Serve({Vote("\nBest+colour=Deep+blue&Again=%4eo")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 1 of 1");
  EXPECT_EQ(Votes("Again"), "Yes 0, No 1 of 1");
}

TEST_F(MailVotes, ALineOfTheTextMayBeWrapped) {
  const std::string question = "Which of these gardens do you like most in the summer of this year";
  const std::string answer = "The one behind the house where the old roses and the apples grow";
  MakeQuestion(question, {"The one", answer});
  Serve(
      {Vote("Content-Type: text/plain; format=flowed\n\nWhich of these gardens do you like most "
            "in the summer of \nthis year=The one behind the house where the old roses and the "
            "apples \ngrow\n")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(question), "The one 0, " + answer + " 1 of 1");
}

TEST_F(MailVotes, AMailProgramMaySendTheTextInTwoForms) {
  Serve(
      {Vote("Content-Type: multipart/alternative; boundary=\"b\"\n\n--b\nContent-Type: "
            "text/plain\n\nBest colour=Red\n--b\nContent-Type: text/html\n\n<p>Best "
            "colour=Red</p>\n--b--")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 1, Deep blue 0 of 1");
}

TEST_F(MailVotes, AMailProgramMaySendTheTextAsHtmlOnly) {
  Serve(
      {Vote("Content-Type: text/html; charset=\"utf-8\"\n\n<html><body><p>Best "
            "colour=Deep blue<br>Again=Yes</p><p>Sent from a phone</p></body></html>")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 1 of 1");
  EXPECT_EQ(Votes("Again"), "Yes 1, No 0 of 1");
}

TEST_F(MailVotes, TheHtmlCountsWhereThePlainTextBesideItIsBlank) {
  Serve(
      {Vote("Content-Type: multipart/alternative; boundary=\"b\"\n\n--b\nContent-Type: "
            "text/plain\n\n \n\n--b\nContent-Type: text/html\n\n<p>Best "
            "colour=Red</p>\n--b--")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 1, Deep blue 0 of 1");
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailVotes, InHtmlWhatStandsBehindAQuestionMarkIsTextToo) {
  MakeQuestion("Music", {"R&B", "Rock"});
  const char* const mail = "Content-Type: text/html\n\nWhich is it?<br>Music=R&amp;B<br>";
  Serve({Vote(mail)});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Music"), "R&B 1, Rock 0 of 1");
}

TEST_F(MailVotes, InHtmlWhatStandsBehindAQuestionMarkIsDecodedTextToo) {
  setup_->Number("Decode Mail Text", 1);
  MakeQuestion("Music", {"R&B", "Rock"});
  const char* const mail =
      "Content-Type: text/html; charset=\"utf-8\"\n\nWhich is it?<br>Music=R&amp;B<br>";
  Serve({Vote(mail)});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Music"), "R&B 1, Rock 0 of 1");
}

TEST_F(MailVotes, InHtmlEveryBlockIsALine) {
  Serve(
      {Vote("Content-Type: text/html\n\n<div>Best colour=Deep blue</div><div>Again=Yes</div>"
            "<ul><li>A=b</li></ul>")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 1 of 1");
  EXPECT_EQ(Votes("Again"), "Yes 1, No 0 of 1");
}

TEST_F(MailVotes, LetterCaseDoesNotCount) {
  Serve({Vote(Form("BEST+COLOUR=rEd"), "a@b", "sURVEY")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 1, Deep blue 0 of 1");
}

TEST_F(MailVotes, OnlyExistingQuestionsAndAnswersCount) {
  Serve({Vote(Form("Best+colour=Green&Worst+colour=Red&Again=&=Red&Best+colour"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 0 of 0");
  EXPECT_EQ(Left(), 0u) << "deleted whether or not it counted";
  EXPECT_EQ(History(), "Logged onto 127.0.0.1 successfully|Found no new message|");
}

TEST_F(MailVotes, AMailWithoutAFormIsDeleted) {
  Serve({Vote("\nI like red.")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  EXPECT_EQ(Votes(), "Red 0, Deep blue 0 of 0");
}

TEST_F(MailVotes, ARepeatedVoteCounts) {
  Serve({Vote(Form("Again=Yes")), Vote(Form("Again=Yes")), Vote(Form("Again=No"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 2, No 1 of 3");
}

TEST_F(MailVotes, OneMailGivesAnAnswerOneVote) {
  Serve({Vote(Form("Again=Yes&Again=yes&again=YES&Again=No"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 1, No 1 of 2");
}

TEST_F(MailVotes, VotersAreNotKeptByDefault) {
  Serve({Vote(Form("Again=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Voters("Again"), "no list");
}

TEST_F(MailVotes, VotersAreKeptWhereAddressesAre) {
  setup_->Number("Save Voter Address", 1);
  Serve({Vote(Form("Best+colour=Red")), Vote(Form("best+colour=deep+blue"), "Bob <bob@x>"),
         Vote(Form("Best+colour=Deep+blue"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Voters(), "Ann <ann@x>=Deep blue;Bob <bob@x>=Deep blue;");
  EXPECT_EQ(Votes(), "Red 1, Deep blue 2 of 3");
}

TEST_F(MailVotes, AVoterThatIsAPatternIsCountedButNotKept) {
  setup_->Number("Save Voter Address", 1);
  Serve({Vote(Form("Again=Yes")), Vote(Form("Again=No"), "*"), Vote(Form("Again=No"), "Ann*"),
         "To: \"[My_Board:Survey]\" <x@y>\n" + Form("Again=No") + "\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Voters("Again"), "Ann <ann@x>=Yes;");
  EXPECT_EQ(Votes("Again"), "Yes 1, No 3 of 4");
}

TEST_F(MailVotes, OnlyTheToHeaderNamesTheSurvey) {
  Serve({"From: a@b\nTo: c@d\nCc: \"[My_Board:Survey]\" <x@y>\nSubject: v\n" + Form("Again=Yes") +
             "\n",
         "From: a@b\nTo: \"[Your_Board:Survey]\" <x@y>\nSubject: v\n" + Form("Again=Yes") + "\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 2u);
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
}

TEST_F(MailVotes, AForumCalledSurveyGoesFirst) {
  ASSERT_TRUE(test::MakeForum("Survey", data_));
  Serve({Vote(Form("Again=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(test::SubjectsOf("Survey", data_), "v;");
}

TEST_F(MailVotes, ALinkListCalledSurveyGoesFirst) {
  ASSERT_TRUE(test::MakeContainer<TLinkList>("Survey", data_));
  Serve({Vote(Form("Again=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(test::ItemsOf<TLinkList>("Survey", data_).size(), 1u);
}

TEST_F(MailVotes, AResourceListCalledSurveyGoesFirst) {
  ASSERT_TRUE(test::MakeContainer<TContributor>("Survey", data_));
  Serve({Vote(Form("Again=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(test::ItemsOf<TContributor>("Survey", data_).size(), 1u);
}

TEST_F(MailVotes, AMailingListToReplyToGoesFirst) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  ASSERT_TRUE(test::AddListAddress("General", data_, "list@example.org"));
  Serve({"Reply-to: list@example.org\n" + Vote(Form("Again=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(test::SubjectsOf("General", data_), "v;");
}

TEST_F(MailVotes, AQuestionThatCannotBeOpenedIsReported) {
  test::WriteFileBytes(data_ + "Broken.mwg", "no document");
  Serve({Vote(Form("Broken=Yes&Again=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Broken]"));
  EXPECT_EQ(Left(), 0u);
  EXPECT_EQ(Votes("Again"), "Yes 1, No 0 of 1");
}

TEST_F(MailVotes, KeepUnsavedMailLeavesItInTheMailbox) {
  test::WriteFileBytes(data_ + "Broken.mwg", "no document");
  setup_->Number("Keep Unsaved Mail", 1);
  Serve({Vote(Form("Broken=Yes"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailVotes, WhatCannotBeCommittedStaysInTheMailbox) {
  Serve({Vote(Form("Again=Yes")), Vote(Form("Best+colour=Red"))});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(
      [count = 0](TStorage& storage) mutable { return ++count == 2 ? 0 : storage.Commit(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Best colour]"));
  EXPECT_TRUE(Sent("RSET"));
  ASSERT_EQ(Left(), 1u);
  EXPECT_NE(server_->Messages()[0].find("Best+colour"), std::string::npos);
  EXPECT_EQ(Votes("Again"), "Yes 1, No 0 of 1");
}

TEST_F(MailVotes, AMailForTwoQuestionsStaysWhenOnlyTheFirstCommitFails) {
  Serve({Vote(Form("Best+colour=Red&Again=Yes")), Vote(Form("Again=No"))});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(
      [count = 0](TStorage& storage) mutable { return ++count == 1 ? 0 : storage.Commit(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Best colour]"));
  EXPECT_FALSE(HistoryHas("Cannot save message to [Again]"));
  EXPECT_EQ(CommandsBehindReading(), "RSET DELE 2 QUIT ");
  ASSERT_EQ(Left(), 1u);
  EXPECT_NE(server_->Messages()[0].find("Best+colour"), std::string::npos);
  EXPECT_EQ(Votes("Again"), "Yes 1, No 1 of 2");
}

TEST_F(MailVotes, AMailForTwoQuestionsStaysWhenOnlyTheSecondCommitFails) {
  Serve({Vote(Form("Again=No")), Vote(Form("Again=Yes&Best+colour=Red"))});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(
      [count = 0](TStorage& storage) mutable { return ++count == 2 ? 0 : storage.Commit(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Best colour]"));
  EXPECT_FALSE(HistoryHas("Cannot save message to [Again]"));
  EXPECT_EQ(CommandsBehindReading(), "RSET DELE 1 QUIT ");
  ASSERT_EQ(Left(), 1u);
  EXPECT_NE(server_->Messages()[0].find("Best+colour"), std::string::npos);
  EXPECT_EQ(Votes("Again"), "Yes 1, No 1 of 2");
}

TEST_F(MailVotes, TheCommitComesBeforeTheQuit) {
  Serve({Vote(Form("Again=Yes"))});
  TMailRetrievalTask task(setup_, state_);
  int commits = 0;
  task.SetCommit([&](TStorage& storage) {
    ++commits;
    EXPECT_FALSE(Sent("QUIT"));
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(commits, 1);
}

TEST_F(MailVotes, AFormThatBreaksOffDoesNotCount) {
  Serve({Vote("\nAgain=Yes\n" + std::string(9000, 'x'))},
        {test::ParseDeviation("RETR 1 drop 3000")});
  EXPECT_EQ(Run(2000), 1);
  EXPECT_TRUE(HistoryHas("Cannot retrieve \"v\""));
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailVotes, HostileFormsDoNoHarm) {
  std::string many;
  for (int i = 0; i < 5000; ++i)
    many += "Q" + std::to_string(i) + "=" + std::string(200, 'x') + "&";
  Serve({Vote(Form(many)), Vote(Form(std::string(100000, '=') + "&" + std::string(100000, '&'))),
         Vote(Form("%=%&%00=%00&../Again=Yes&Again.mwg=Yes&" + std::string(70000, 'q') + "=Yes")),
         Vote("\n" + std::string(100000, '=')), Vote(Form("Again=%s%n%s"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Again"), "Yes 0, No 0 of 0");
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailVotes, AnswersInOtherCharacterSetsMeetWhereTextsAreDecoded) {
  MakeQuestion("Size", {"Gro\xDF", "Fran\xE7"});
  MakeQuestion("Animal", {"\xC5\xBB\xC3\xB3\xC5\x82w"}, "utf-8");
  setup_->Number("Decode Mail Text", 1);
  Serve({Vote(Form("Size=Gro%C3%9F")), Vote(Form("Size=Gro%DF")),
         Vote("Content-Type: text/plain; charset=\"iso-8859-1\"\n\nSize=Gro\xDF\n"),
         Vote(Form("Animal=%26%23379%3B%26%23243%3B%26%23322%3Bw")),
         Vote(Form("_charset_=iso-8859-2&Animal=%AF%F3%B3w"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Size"), "Gro\xDF 3, Fran\xE7 0 of 3");
  EXPECT_EQ(Votes("Animal"), "\xC5\xBB\xC3\xB3\xC5\x82w 2 of 2");
}

TEST_F(MailVotes, QuestionsInOtherCharacterSetsMeetWhereTextsAreDecoded) {
  const std::string name = "Zwierz\xC4\x99";
  MakeQuestion(name, {"Pies"});
  if (!std::filesystem::exists(std::filesystem::path(
          reinterpret_cast<const char8_t*>((data_ + name + ".mwg").c_str())))) {
    GTEST_SKIP() << "board files have ASCII names here";
  }
  setup_->Number("Decode Mail Text", 1);
  Serve({Vote(Form("Zwierz%C4%99=Pies")), Vote(Form("_charset_=iso-8859-2&Zwierz%EA=Pies")),
         Vote(Form("Zwierz%26%23281%3B=Pies"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes(name), "Pies 3 of 3");
}

TEST_F(MailVotes, WithoutDecodingBytesAreCompared) {
  MakeQuestion("Size", {"Gro\xDF"});
  Serve({Vote(Form("Size=Gro%DF")), Vote(Form("Size=Gro%C3%9F"))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Size"), "Gro\xDF 1 of 1");
}

TEST_F(MailVotes, AnAnswerIsKnownByTheTextThatItsPageShows) {
  // The list has four bytes more of a long subject than the answer itself.
  const std::string text(130, 'a');
  MakeQuestion("Long", {text});
  Serve({Vote(Form("Long=" + text.substr(0, 119)))});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Votes("Long"), text.substr(0, 119) + " 1 of 1");
}

TEST_F(MailVotes, ADecodedVoterIsKept) {
  setup_->Number("Decode Mail Text", 1);
  setup_->Number("Save Voter Address", 1);
  Serve({Vote(Form("Again=Yes"), "=?iso-8859-1?q?J=F6rg?= <j@x>")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Voters("Again"), "J\xC3\xB6rg <j@x>=Yes;");
}

TEST_F(MailVotes, ADecodedVoterThatIsAPatternIsCountedButNotKept) {
  setup_->Number("Decode Mail Text", 1);
  setup_->Number("Save Voter Address", 1);
  Serve({Vote(Form("Again=Yes")), Vote(Form("Again=No"), "=?utf-8?q?=2A?="),
         Vote(Form("Again=No"), std::string(125, 'x') + "*yz <j@x>")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Voters("Again"), "Ann <ann@x>=Yes;");
  EXPECT_EQ(Votes("Again"), "Yes 1, No 2 of 3");
}

TEST_F(MailVotes, AVoterOfALongNameHasOneRecord) {
  setup_->Number("Save Voter Address", 1);
  const std::string from = std::string(200, 'x') + " <j@x>";
  Serve({Vote(Form("Again=Yes"), from), Vote(Form("Again=No"), from)});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Voters("Again"), std::string(126, 'x') + "=;");
}

}  // namespace
