// What the exported functions over articles, links and answers have in common.
#include "support/item_families.h"

#include "board_fixture.h"

#include <cstdlib>
#include <filesystem>

namespace board_test {
namespace {

template <typename Family>
class ItemFamily : public testing::Test {
 protected:
  void Touch(const std::string& name) { test::WriteFileBytes(directory_ / name, "x"); }
  std::string FileOf(const char* name) const {
    return directory_ / (std::string(name) + Family::kExtension);
  }
  std::vector<std::string> Names(const std::string& directory) {
    std::vector<std::string> names;
    auto* searcher = Family::kStartSearch(directory.c_str());
    EXPECT_NE(searcher, nullptr);
    for (const char* name = Family::kFindFirst(searcher); name != nullptr;
         name = Family::kFindNext(searcher)) {
      names.emplace_back(name);
    }
    EXPECT_EQ(Family::kFindNext(searcher), nullptr) << "the end is the end";
    Family::kEndSearch(searcher);
    return names;
  }
  const char* Directory() const { return directory_.Path().c_str(); }

  test::TemporaryDirectory directory_;
};

TYPED_TEST_SUITE(ItemFamily, test::ItemFamilies);

TYPED_TEST(ItemFamily, CreateOpenClose) {
  auto* list = TypeParam::kCreate("web", this->Directory());
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Insert(*list, "a"), 1U);
  EXPECT_EQ(TypeParam::kOpen("web", this->Directory()), nullptr) << "open already";
  TypeParam::kClose(list);
  EXPECT_TRUE(test::FileExists(this->FileOf("web")));
  list = TypeParam::kOpen("web", this->Directory());
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list->Extension(), TypeParam::kExtension);
  EXPECT_EQ(Rows(*list), (std::vector<Row>{{1, 0, "a"}}));
  TypeParam::kClose(list);
}

TYPED_TEST(ItemFamily, CreateReplacesAnExistingFile) {
  auto* list = TypeParam::kCreate("web", this->Directory());
  Insert(*list, "a");
  TypeParam::kClose(list);
  list = TypeParam::kCreate("web", this->Directory());
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Rows(*list).size(), 0U);
  TypeParam::kClose(list);
}

TYPED_TEST(ItemFamily, OpenFailures) {
  EXPECT_EQ(TypeParam::kOpen("missing", this->Directory()), nullptr);
  EXPECT_EQ(TypeParam::kOpen(nullptr, this->Directory()), nullptr);
  EXPECT_EQ(TypeParam::kOpen("web", nullptr), nullptr);
  EXPECT_EQ(TypeParam::kCreate("web", (this->directory_ / "missing/").c_str()), nullptr);
  TypeParam::kClose(nullptr);
}

TYPED_TEST(ItemFamily, RenameMovesTheFile) {
  TypeParam::kClose(TypeParam::kCreate("old", this->Directory()));
  EXPECT_NE(TypeParam::kRename("old", "new", this->Directory()), 0);
  EXPECT_FALSE(test::FileExists(this->FileOf("old")));
  EXPECT_TRUE(test::FileExists(this->FileOf("new")));
  EXPECT_EQ(TypeParam::kRename("old", "other", this->Directory()), 0);
  EXPECT_EQ(TypeParam::kRename("new", nullptr, this->Directory()), 0);
}

TYPED_TEST(ItemFamily, DeleteRemovesTheFile) {
  TypeParam::kClose(TypeParam::kCreate("web", this->Directory()));
  EXPECT_NE(TypeParam::kDelete("web", this->Directory()), 0);
  EXPECT_FALSE(test::FileExists(this->FileOf("web")));
  EXPECT_EQ(TypeParam::kDelete("web", this->Directory()), 0);
  EXPECT_EQ(TypeParam::kDelete(nullptr, this->Directory()), 0);
}

TYPED_TEST(ItemFamily, SearchFindsTheFilesOfItsClassAlone) {
  for (const char* extension : {".mwd", ".mwe", ".mwf", ".mwg"}) {
    this->Touch(std::string("of") + extension);
  }
  this->Touch(std::string("a.b") + TypeParam::kExtension);
  this->Touch(std::string("long") + TypeParam::kExtension + "x");
  std::filesystem::create_directory(this->FileOf("directory"));
  const std::vector<std::string> expected = {"a.b", "of"};
  const std::string path = this->directory_.Path();
  EXPECT_EQ(this->Names(path), expected);
  EXPECT_EQ(this->Names(path.substr(0, path.size() - 1)), expected);
}

TYPED_TEST(ItemFamily, SearchStartsAnewAndIgnoresNulls) {
  this->Touch(std::string("a.b") + TypeParam::kExtension);
  auto* searcher = TypeParam::kStartSearch(this->Directory());
  EXPECT_STREQ(TypeParam::kFindFirst(searcher), "a.b");
  EXPECT_STREQ(TypeParam::kFindFirst(searcher), "a.b");
  EXPECT_EQ(TypeParam::kFindNext(searcher), nullptr);
  TypeParam::kEndSearch(searcher);
  EXPECT_EQ(TypeParam::kStartSearch(nullptr), nullptr);
  EXPECT_EQ(TypeParam::kFindFirst(nullptr), nullptr);
  EXPECT_EQ(TypeParam::kFindNext(nullptr), nullptr);
  TypeParam::kEndSearch(nullptr);
}

// The same with an open list.
template <typename Family>
class ItemFamilyItems : public ItemFamily<Family> {
 protected:
  void SetUp() override {
    list_ = Family::kCreate("web", this->Directory());
    ASSERT_NE(list_, nullptr);
  }
  void TearDown() override { Family::kClose(list_); }

  // Writes past the functions at test.
  DWORD Add(const char* subject, LONG linkId = 0, const std::string& body = "body") {
    auto item = NewMessage(subject, body);
    item->Number("LINK ID", linkId);
    return list_->InsertMessage(*item);
  }
  std::string InfoOf(const char* element) {
    TStorage item(list_->Storage().Interface(), element, kReadWrite, 0, kExclusive);
    return StreamBytes(item, "INFO");
  }

  typename Family::List* list_ = nullptr;
};

TYPED_TEST_SUITE(ItemFamilyItems, test::ItemFamilies);

TYPED_TEST(ItemFamilyItems, TemporaryItemCarriesTheLocalTime) {
  TMail* item = TypeParam::kOpenItem(5, nullptr);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->String("SUBJECT", "writable"), 1);
  const LONG now = static_cast<LONG>(TTime::Now().UnixSeconds());
  EXPECT_LE(std::abs(now - item->Number("Creation time")), 5);
  EXPECT_EQ(item->Storage().CreationTime(), item->Storage().ModificationTime());
  TypeParam::kCloseItem(item);
  TypeParam::kCloseItem(nullptr);
}

TYPED_TEST(ItemFamilyItems, OpenItem) {
  this->Add("a", 0, "the body");
  TMail* item = TypeParam::kOpenItem(1, this->list_);
  ASSERT_NE(item, nullptr);
  EXPECT_STREQ(item->String("SUBJECT"), "a");
  EXPECT_EQ(Body(*item), "the body");
  EXPECT_EQ(TypeParam::kOpenItem(1, this->list_), nullptr) << "open already";
  TypeParam::kCloseItem(item);
  EXPECT_EQ(TypeParam::kOpenItem(2, this->list_), nullptr);
}

TYPED_TEST(ItemFamilyItems, InsertAddsOrReplaces) {
  auto item = NewMessage("A");
  EXPECT_EQ(TypeParam::kInsertItem(item.get(), this->list_), 1U);
  item->String("SUBJECT", "b");
  EXPECT_EQ(TypeParam::kInsertItem(item.get(), this->list_), 2U);
  item->String("SUBJECT", "a");
  EXPECT_EQ(TypeParam::kInsertItem(item.get(), this->list_), 1U);
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{1, 0, "a"}, {2, 0, "b"}}));
  EXPECT_EQ(TypeParam::kInsertItem(nullptr, this->list_), 0U);
  EXPECT_EQ(TypeParam::kInsertItem(item.get(), nullptr), 0U);
}

TYPED_TEST(ItemFamilyItems, InsertKeepsAtMostTheMaximum) {
  this->list_->Number("Max Message Count", 2);
  auto item = NewMessage("a");
  for (const char* subject : {"a", "b", "c"}) {
    item->String("SUBJECT", subject);
    EXPECT_NE(TypeParam::kInsertItem(item.get(), this->list_), 0U);
  }
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{2, 0, "b"}, {3, 0, "c"}}));
}

TYPED_TEST(ItemFamilyItems, FindIgnoresCase) {
  this->Add("Some Name");
  EXPECT_EQ(TypeParam::kFindItem(this->list_, "some name"), 1);
  EXPECT_EQ(TypeParam::kFindItem(this->list_, "some"), 0);
  EXPECT_EQ(TypeParam::kFindItem(this->list_, nullptr), 0);
  EXPECT_EQ(TypeParam::kFindItem(nullptr, "some name"), 0);
}

TYPED_TEST(ItemFamilyItems, RenameChangesListAndItem) {
  this->Add("a");
  this->Add("old", 7);
  TMail* item = TypeParam::kOpenItem(2, this->list_);
  EXPECT_EQ(TypeParam::kRenameItem(item, this->list_, "new"), 1);
  TypeParam::kCloseItem(item);
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{1, 0, "a"}, {2, 7, "new"}}));
  item = TypeParam::kOpenItem(2, this->list_);
  EXPECT_STREQ(item->String("SUBJECT"), "new");
  TypeParam::kCloseItem(item);
}

TYPED_TEST(ItemFamilyItems, RenameSpellsTheKeySubject) {
  this->Add("old");
  EXPECT_EQ(this->InfoOf("1").substr(0, 128), RecordBytes("SUBJECT", "old"));
  TMail* item = TypeParam::kOpenItem(1, this->list_);
  ASSERT_EQ(TypeParam::kRenameItem(item, this->list_, "new"), 1);
  TypeParam::kCloseItem(item);
  const std::string info = this->InfoOf("1");
  EXPECT_EQ(info.substr(0, 128), RecordBytes("Subject", "new"));
  EXPECT_EQ(info.find("SUBJECT"), std::string::npos);
}

// The record is matched by its whole key: a link number that is not the record's adds one.
TYPED_TEST(ItemFamilyItems, RenameWritesTheRecordOfTheItemsLinkNumber) {
  this->Add("old", 7);
  TMail* item = TypeParam::kOpenItem(1, this->list_);
  item->Number("LINK ID", 8);
  EXPECT_EQ(TypeParam::kRenameItem(item, this->list_, "new"), 1);
  TypeParam::kCloseItem(item);
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{1, 7, "old"}, {1, 8, "new"}}));
}

TYPED_TEST(ItemFamilyItems, RenameFailures) {
  this->Add("a");
  TMail* item = TypeParam::kOpenItem(1, this->list_);
  EXPECT_EQ(TypeParam::kRenameItem(nullptr, this->list_, "x"), 0);
  EXPECT_EQ(TypeParam::kRenameItem(item, nullptr, "x"), 0);
  EXPECT_EQ(TypeParam::kRenameItem(item, this->list_, nullptr), 0);
  TypeParam::kCloseItem(item);
  auto temporary = NewMessage("t");
  EXPECT_EQ(TypeParam::kRenameItem(temporary.get(), this->list_, "x"), 0) << "it has no number";
  EXPECT_STREQ(temporary->String("SUBJECT"), "t");
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{1, 0, "a"}}));
}

TYPED_TEST(ItemFamilyItems, RemoveDeletesItemAndRecord) {
  this->Add("a");
  this->Add("b");
  EXPECT_EQ(TypeParam::kRemoveItem(1, this->list_), 1);
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{2, 0, "b"}}));
  EXPECT_EQ(this->list_->Number("Message Count"), 1);
  EXPECT_EQ(TypeParam::kOpenItem(1, this->list_), nullptr);
  EXPECT_EQ(TypeParam::kRemoveItem(1, nullptr), 0);
}

TYPED_TEST(ItemFamilyItems, RemoveOfAMissingItemFails) {
  this->list_->WriteMessageInfo(4, 0, "listed only");
  EXPECT_EQ(TypeParam::kRemoveItem(4, this->list_), 0);
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{4, 0, "listed only"}})) << "its record stays";
}

TYPED_TEST(ItemFamilyItems, RemoveTakesTheSecondRecordToo) {
  this->Add("a", 1);
  this->Add("b");
  this->Add("a", 2);
  ASSERT_EQ(Rows(*this->list_).size(), 3U);
  EXPECT_EQ(TypeParam::kRemoveItem(1, this->list_), 1);
  EXPECT_EQ(Rows(*this->list_), (std::vector<Row>{{2, 0, "b"}}));
  EXPECT_EQ(this->list_->Number("Message Count"), 1) << "counted once";
}

TYPED_TEST(ItemFamilyItems, WalkGivesSubjectAndNumber) {
  this->Add("a");
  this->Add("b", 1);
  TMessageSearcher* searcher = TypeParam::kStartItemSearch(this->list_);
  ASSERT_NE(searcher, nullptr);
  TItemSearchResult found = TypeParam::kFindFirstItem(searcher);
  EXPECT_STREQ(found.subject, "a");
  EXPECT_EQ(found.index, 1U);
  found = TypeParam::kFindNextItem(searcher);
  EXPECT_STREQ(found.subject, "b");
  EXPECT_EQ(found.index, 2U);
  found = TypeParam::kFindNextItem(searcher);
  EXPECT_EQ(found.subject, nullptr);
  EXPECT_EQ(found.index, 0U);
  EXPECT_EQ(TypeParam::kFindFirstItem(searcher).index, 1U) << "begins again";
  TypeParam::kEndItemSearch(searcher);
}

TYPED_TEST(ItemFamilyItems, WalkGoesOnWhenTheItemAtHandIsRenamed) {
  for (const char* subject : {"a", "b", "c"}) this->Add(subject);
  TMessageSearcher* searcher = TypeParam::kStartItemSearch(this->list_);
  TypeParam::kFindFirstItem(searcher);
  ASSERT_EQ(TypeParam::kFindNextItem(searcher).index, 2U);
  TMail* item = TypeParam::kOpenItem(2, this->list_);
  EXPECT_EQ(TypeParam::kRenameItem(item, this->list_, "new"), 1);
  TypeParam::kCloseItem(item);
  EXPECT_EQ(TypeParam::kFindNextItem(searcher).index, 3U);
  EXPECT_EQ(TypeParam::kFindNextItem(searcher).subject, nullptr);
  TypeParam::kEndItemSearch(searcher);
}

TYPED_TEST(ItemFamilyItems, WalkOfAnEmptyListAndOfNone) {
  TMessageSearcher* searcher = TypeParam::kStartItemSearch(this->list_);
  ASSERT_NE(searcher, nullptr);
  EXPECT_EQ(TypeParam::kFindFirstItem(searcher).subject, nullptr);
  EXPECT_EQ(TypeParam::kFindFirstItem(searcher).index, 0U);
  TypeParam::kEndItemSearch(searcher);
  EXPECT_EQ(TypeParam::kStartItemSearch(nullptr), nullptr);
  EXPECT_EQ(TypeParam::kFindFirstItem(nullptr).subject, nullptr);
  EXPECT_EQ(TypeParam::kFindNextItem(nullptr).subject, nullptr);
  TypeParam::kEndItemSearch(nullptr);
}

}  // namespace
}  // namespace board_test
