// Resource lists, link lists and questions by the host's commands; what all kinds share is tried on
// every kind.
#include "host_fixture.h"

using namespace host_test;

namespace {

struct Kind {
  const char* command;
  const char* word;
  const char* extension;
  const char* item;
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.command; }

class EveryKind : public Host, public ::testing::WithParamInterface<Kind> {
 protected:
  test::ProgramResult RunFamily(const std::string& what, std::vector<std::string> rest = {}) {
    rest.insert(rest.begin(), {GetParam().command, what, Board()});
    return RunHost(rest);
  }
  test::ProgramResult Add(const std::string& container, const std::string& subject) {
    const std::string command = GetParam().command;
    if (command == "forum") {
      return RunFamily("add", {container, "--from", "a@b.example", "--subject", subject});
    }
    if (command == "question") return RunFamily("add", {container, subject});
    return RunFamily("add", {container, subject, "--address", "https://example.org/"});
  }
  std::string DataFile(const std::string& name) {
    return InBoard("Data/" + name + GetParam().extension);
  }
};

INSTANTIATE_TEST_SUITE_P(Kinds, EveryKind,
                         ::testing::Values(Kind{"forum", "forum", ".mwd", "message"},
                                           Kind{"list", "resource list", ".mwe", "article"},
                                           Kind{"links", "link list", ".mwf", "link"},
                                           Kind{"question", "question", ".mwg", "answer"}),
                         [](const auto& kind) { return std::string(kind.param.command); });

TEST_P(EveryKind, IsCreatedListedShownRenamedAndDeleted) {
  Init();
  EXPECT_THAT(RunFamily("list").output, HasSubstr(std::string("No ") + GetParam().word + "s yet"));
  EXPECT_EQ(
      RunFamily("create", {"Old Name", "--description", "About all", "--prefix", "p-"}).exitCode,
      0);
  EXPECT_TRUE(test::FileExists(DataFile("Old Name")));
  test::ProgramResult shown = RunFamily("show", {"old name"});
  EXPECT_EQ(shown.exitCode, 0) << shown.output;
  EXPECT_THAT(shown.output, HasSubstr("About all"));
  EXPECT_THAT(shown.output, HasSubstr("p-"));
  EXPECT_EQ(RunFamily("rename", {"Old Name", "New Name"}).exitCode, 0);
  test::ProgramResult listed = RunFamily("list");
  EXPECT_EQ(listed.exitCode, 0);
  EXPECT_THAT(listed.output, HasSubstr(std::string("New Name  (0 ") + GetParam().item + "s"));
  EXPECT_THAT(listed.output, Not(HasSubstr("Old Name")));
  EXPECT_EQ(RunFamily("delete", {"new NAME"}).exitCode, 0);
  EXPECT_TRUE(fs::is_empty(InBoard("Data")));
}

TEST_P(EveryKind, ItemsAreAddedRenamedAndRemovedByNumber) {
  Init();
  ASSERT_EQ(RunFamily("create", {"Box"}).exitCode, 0);
  ASSERT_EQ(Add("Box", "One").exitCode, 0);
  ASSERT_EQ(Add("Box", "Two").exitCode, 0);
  EXPECT_EQ(RunFamily("rename", {"Box", "Uno", "--item", "1"}).exitCode, 0);
  EXPECT_EQ(RunFamily("remove", {"Box", "2"}).exitCode, 0);
  test::ProgramResult shown = RunFamily("show", {"Box"});
  EXPECT_THAT(shown.output, HasSubstr("1  Uno"));
  EXPECT_THAT(shown.output, Not(HasSubstr("Two")));
  EXPECT_THAT(shown.output, HasSubstr("Holds        1"));
}

TEST_P(EveryKind, WhatIsNotThereIsRefusedAndNothingChanges) {
  Init();
  ASSERT_EQ(RunFamily("create", {"Box"}).exitCode, 0);
  ASSERT_EQ(Add("Box", "One").exitCode, 0);
  const std::map<std::string, std::string> before = Snapshot();
  for (const char* what : {"show", "delete"}) {
    test::ProgramResult result = RunFamily(what, {"Nothing"});
    EXPECT_EQ(result.exitCode, 1) << what;
    EXPECT_THAT(result.output, HasSubstr(std::string("Cannot find the ") + GetParam().word));
  }
  EXPECT_EQ(RunFamily("rename", {"Nothing", "Other"}).exitCode, 1);
  EXPECT_EQ(RunFamily("remove", {"Nothing", "1"}).exitCode, 1);
  EXPECT_EQ(RunFamily("remove", {"Box", "7"}).exitCode, 1);
  EXPECT_EQ(RunFamily("remove", {"Box", "0"}).exitCode, 1);
  EXPECT_EQ(RunFamily("rename", {"Box", "Uno", "--item", "7"}).exitCode, 1);
  EXPECT_EQ(Add("Nothing", "One").exitCode, 1);
  EXPECT_EQ(RunFamily("remove", {"Box"}).exitCode, 2);
  EXPECT_EQ(RunFamily("remove", {"Box", "x"}).exitCode, 2);
  EXPECT_EQ(RunFamily("explode", {"Box"}).exitCode, 2);
  EXPECT_EQ(Snapshot(), before);
}

TEST_P(EveryKind, CreatingTwiceKeepsTheFirst) {
  Init();
  ASSERT_EQ(RunFamily("create", {"Box"}).exitCode, 0);
  ASSERT_EQ(Add("Box", "One").exitCode, 0);
  const std::map<std::string, std::string> before = Snapshot();
  test::ProgramResult result = RunFamily("create", {"bOX"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("there is one already"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_P(EveryKind, NamesThatLeaveTheDirectoryOrBreakAddressesAreRefused) {
  Init();
  for (const char* name : {"../escape", "a_b", "what?", ""}) {
    EXPECT_EQ(RunFamily("create", {name}).exitCode, 1) << name;
  }
  EXPECT_TRUE(fs::is_empty(InBoard("Data")));
}

TEST_P(EveryKind, AFileThatIsNoDataFileIsRefusedAndLeftAlone) {
  Init();
  test::WriteFileBytes(DataFile("Broken"), "this is no compound document");
  test::ProgramResult list = RunFamily("list");
  EXPECT_EQ(list.exitCode, 1);
  EXPECT_THAT(list.output, HasSubstr("Broken"));
  EXPECT_EQ(RunFamily("show", {"Broken"}).exitCode, 1);
  EXPECT_EQ(Add("Broken", "One").exitCode, 1);
  EXPECT_EQ(RunFamily("create", {"Broken"}).exitCode, 1);
  EXPECT_EQ(test::ReadFileBytes(DataFile("Broken")), "this is no compound document");
}

TEST_P(EveryKind, SubjectsThatCannotBeStoredAreRefused) {
  Init();
  ASSERT_EQ(RunFamily("create", {"Box"}).exitCode, 0);
  const std::map<std::string, std::string> before = Snapshot();
  EXPECT_EQ(Add("Box", "").exitCode, 1);
  EXPECT_EQ(Add("Box", "two\nlines").exitCode, 1);
  if (GetParam().command != std::string("forum")) {
    EXPECT_EQ(Add("Box", std::string(150, 'x')).exitCode, 1);
  }
  EXPECT_EQ(Snapshot(), before);
}

TEST_P(EveryKind, StandsInTheHelp) {
  test::ProgramResult all = RunHost({"--help"});
  EXPECT_THAT(all.output, HasSubstr(GetParam().command));
  test::ProgramResult family = RunHost({GetParam().command, "--help"});
  EXPECT_EQ(family.exitCode, 0);
  for (const char* what : {"create", "list", "show", "add", "rename", "remove", "delete"}) {
    EXPECT_THAT(family.output, HasSubstr(what)) << what;
  }
  EXPECT_THAT(RunHost({GetParam().command, "add", "--help"}).output, HasSubstr("DIR"));
  EXPECT_EQ(RunHost({GetParam().command}).exitCode, 2);
}

class Lists : public Host {
 protected:
  void InitWith(const std::vector<std::string>& create) {
    Init();
    ASSERT_EQ(RunHost(create).exitCode, 0);
  }
};

TEST_F(Lists, ALinkIsFiledWithAddressSizeSenderAndDescription) {
  InitWith({"links", "create", Board(), "Sites"});
  test::WriteFileBytes(directory_ / "about.txt", "all about seeds\n");
  test::ProgramResult added = RunHost(
      {"links", "add", Board(), "sites", "Seeds", "--address", "https://example.org/a?b=c",
       "--size", "12", "--from", "Ann <ann@example.org>", "--file", directory_ / "about.txt"});
  EXPECT_EQ(added.exitCode, 0) << added.output;
  EXPECT_THAT(added.output, HasSubstr("Added link 1"));
  EXPECT_THAT(RunHost({"links", "show", Board(), "Sites"}).output,
              HasSubstr("1  Seeds  - https://example.org/a?b=c, 12 KB"));
  const std::string file = test::ReadFileBytes(InBoard("Data/Sites.mwf"));
  EXPECT_NE(file.find(std::string("E-Mail Address\0ann@example.org", 30)), std::string::npos);
  EXPECT_NE(file.find(std::string("Document Type\0text/plain", 24)), std::string::npos);
  EXPECT_NE(file.find("all about seeds\n"), std::string::npos);
}

TEST_F(Lists, AnItemOfTheSameSubjectIsReplaced) {
  InitWith({"list", "create", Board(), "Books"});
  ASSERT_EQ(RunHost({"list", "add", Board(), "Books", "Seeds"}).exitCode, 0);
  test::ProgramResult again =
      RunHost({"list", "add", Board(), "Books", "SEEDS", "--address", "https://example.org/"});
  EXPECT_EQ(again.exitCode, 0) << again.output;
  EXPECT_THAT(again.output, HasSubstr("Replaced article 1"));
  test::ProgramResult shown = RunHost({"list", "show", Board(), "Books"});
  EXPECT_THAT(shown.output, HasSubstr("Holds        1"));
  EXPECT_THAT(shown.output, HasSubstr("1  SEEDS  - https://example.org/"));
}

TEST_F(Lists, ALinkNeedsAnAddressAndAnArticleDoesNot) {
  InitWith({"links", "create", Board(), "Sites"});
  EXPECT_EQ(RunHost({"links", "add", Board(), "Sites", "Seeds"}).exitCode, 2);
  EXPECT_EQ(RunHost({"links", "add", Board(), "Sites", "Seeds", "--address", "a\nb"}).exitCode, 1);
  EXPECT_EQ(RunHost({"links", "add", Board(), "Sites", "Seeds", "--address", "https://x.example/",
                     "--from", "nobody"})
                .exitCode,
            1);
}

TEST_F(Lists, RenamingAnArticleToASubjectInUseIsRefusedAndOfALinkIsNot) {
  InitWith({"list", "create", Board(), "Books"});
  ASSERT_EQ(RunHost({"links", "create", Board(), "Sites"}).exitCode, 0);
  for (const char* subject : {"One", "Two"}) {
    ASSERT_EQ(RunHost({"list", "add", Board(), "Books", subject}).exitCode, 0);
    ASSERT_EQ(
        RunHost({"links", "add", Board(), "Sites", subject, "--address", "https://x.example/"})
            .exitCode,
        0);
  }
  test::ProgramResult article = RunHost({"list", "rename", Board(), "Books", "one", "--item", "2"});
  EXPECT_EQ(article.exitCode, 1);
  EXPECT_THAT(article.output, HasSubstr("there is such an article already"));
  EXPECT_EQ(RunHost({"links", "rename", Board(), "Sites", "One", "--item", "2"}).exitCode, 0);
  EXPECT_THAT(RunHost({"links", "show", Board(), "Sites"}).output, HasSubstr("2  One"));
}

// One posting address leads to one place.
TEST_F(Lists, ForumsListsAndLinkListsShareNoName) {
  InitWith({"forum", "create", Board(), "Talk"});
  ASSERT_EQ(RunHost({"links", "create", Board(), "Sites"}).exitCode, 0);
  EXPECT_THAT(RunHost({"links", "create", Board(), "talk"}).output,
              HasSubstr("there is a forum of that name"));
  EXPECT_THAT(RunHost({"list", "create", Board(), "Sites"}).output,
              HasSubstr("there is a link list of that name"));
  EXPECT_EQ(RunHost({"forum", "rename", Board(), "Talk", "Sites"}).exitCode, 1);
  EXPECT_EQ(RunHost({"question", "create", Board(), "Talk"}).exitCode, 0);
}

TEST_F(Lists, NothingThatMailIsSentToIsCalledSurvey) {
  Init();
  for (const char* command : {"forum", "list", "links"}) {
    test::ProgramResult result = RunHost({command, "create", Board(), "survey"});
    EXPECT_EQ(result.exitCode, 1) << command;
    EXPECT_THAT(result.output, HasSubstr("mail to that name is a vote"));
  }
  EXPECT_EQ(RunHost({"question", "create", Board(), "Survey"}).exitCode, 0);
}

class Questions : public Lists {
 protected:
  std::string Shown(const std::string& question = "Tea or coffee") {
    return RunHost({"question", "show", Board(), question}).output;
  }
};

TEST_F(Questions, AreMadeWithTheirAnswers) {
  InitWith({"question", "create", Board(), "Tea or coffee", "--answer", "Tea", "--answer",
            "Coffee, black"});
  EXPECT_THAT(Shown(), HasSubstr("1  Tea  - 0 votes"));
  EXPECT_THAT(Shown(), HasSubstr("2  Coffee, black  - 0 votes"));
  EXPECT_THAT(RunHost({"question", "list", Board()}).output,
              HasSubstr("Tea or coffee  (2 answers, 0 votes)"));
}

TEST_F(Questions, AreNotMadeWithAnAnswerThatCannotBe) {
  Init();
  for (const std::string& answer : {std::string(), std::string(" x"), std::string("x "),
                                    std::string("a\nb"), std::string(150, 'x')}) {
    EXPECT_EQ(
        RunHost({"question", "create", Board(), "Which", "--answer", "Tea", "--answer", answer})
            .exitCode,
        1)
        << answer;
  }
  EXPECT_EQ(RunHost({"question", "create", Board(), "Which", "--answer", "Tea", "--answer", "tea"})
                .exitCode,
            1);
  EXPECT_EQ(RunHost({"question", "create", Board(), "a=b", "--answer", "Tea"}).exitCode, 1);
  EXPECT_TRUE(fs::is_empty(InBoard("Data")));
}

TEST_F(Questions, KeepAnAnswerThatIsAddedAgain) {
  InitWith({"question", "create", Board(), "Tea or coffee", "--answer", "Tea"});
  const std::map<std::string, std::string> before = Snapshot();
  test::ProgramResult result = RunHost({"question", "add", Board(), "Tea or coffee", "TEA"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("there is one already"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Questions, KeepEveryAnswerHoweverMany) {
  Init();
  std::vector<std::string> create = {"question", "create", Board(), "Which"};
  for (int i = 1; i <= 20; ++i) {
    create.insert(create.end(), {"--answer", "answer " + std::to_string(i)});
  }
  ASSERT_EQ(RunHost(create).exitCode, 0);
  ASSERT_EQ(RunHost({"question", "add", Board(), "Which", "one more"}).exitCode, 0);
  EXPECT_THAT(Shown("Which"), HasSubstr("Holds        21"));
  EXPECT_THAT(Shown("Which"), HasSubstr("1  answer 1  -"));
}

TEST_F(Questions, AnswersHaveColours) {
  InitWith({"question", "create", Board(), "Tea or coffee", "--answer", "Tea"});
  EXPECT_EQ(
      RunHost({"question", "add", Board(), "Tea or coffee", "Red", "--color", "#ff0102"}).exitCode,
      0);
  // Red is the lowest byte: 0x0201ff.
  EXPECT_NE(test::ReadFileBytes(InBoard("Data/Tea or coffee.mwg"))
                .find(std::string("Color\000131583", 12)),
            std::string::npos);
  for (const char* color : {"red", "#ff01", "#ff01021", "#gg0000", "ff0102", "#+f0102"}) {
    EXPECT_EQ(
        RunHost({"question", "add", Board(), "Tea or coffee", "X", "--color", color}).exitCode, 1)
        << color;
  }
  EXPECT_THAT(Shown(), Not(HasSubstr("X")));
}

class Subscriptions : public Host {
 protected:
  test::ProgramResult Do(const char* command, const std::string& address,
                         const std::string& forum = "General Talk") {
    return RunHost({command, Board(), forum, address});
  }
  std::string Shown() { return RunHost({"forum", "show", Board(), "General Talk"}).output; }
};

TEST_F(Subscriptions, AreAddedShownAndTakenBack) {
  InitWithForum();
  EXPECT_EQ(
      RunHost({"subscribe", Board(), "general talk", "ann@example.org", "--name", "Ann"}).exitCode,
      0);
  EXPECT_EQ(Do("subscribe", "bob@example.org").exitCode, 0);
  EXPECT_THAT(Shown(), HasSubstr("ann@example.org  Ann"));
  EXPECT_THAT(Shown(), HasSubstr("bob@example.org"));
  EXPECT_EQ(Do("unsubscribe", "ANN@example.org").exitCode, 0);
  EXPECT_THAT(Shown(), Not(HasSubstr("ann@example.org")));
  EXPECT_THAT(Shown(), HasSubstr("bob@example.org"));
}

TEST_F(Subscriptions, RefuseAddressesThatMeanOthersOrNone) {
  InitWithForum();
  ASSERT_EQ(Do("subscribe", "ann@example.org").exitCode, 0);
  const std::map<std::string, std::string> before = Snapshot();
  for (const std::string& address :
       {std::string("ann@*"), std::string("nobody"), std::string(), std::string("a@b\r\nc"),
        std::string(300, 'x') + "@example.org"}) {
    EXPECT_EQ(Do("subscribe", address).exitCode, 1) << address;
    EXPECT_EQ(Do("unsubscribe", address).exitCode, 1) << address;
  }
  EXPECT_EQ(Do("subscribe", "ann@example.org", "No Such").exitCode, 1);
  EXPECT_EQ(Do("unsubscribe", "ann@example.org", "No Such").exitCode, 1);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Subscriptions, CannotBeTakenBackTwice) {
  InitWithForum();
  ASSERT_EQ(Do("subscribe", "ann@example.org").exitCode, 0);
  EXPECT_EQ(Do("unsubscribe", "ann@example.org").exitCode, 0);
  test::ProgramResult again = Do("unsubscribe", "ann@example.org");
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.output, HasSubstr("among the subscribers"));
}

}  // namespace
