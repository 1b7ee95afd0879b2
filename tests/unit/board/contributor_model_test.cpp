// Random operations on a resource list against a plain model of it.
#include "board_fixture.h"
#include "board_model.h"

#include <brevant/contributor.h>

#include <random>

namespace board_test {
namespace {

class ContributorModel : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Open(kCreate), 1); }
  int Open(int create) {
    list_.Close();
    return list_.Open("list", directory_.Path().c_str(), kReadWrite, create, kExclusive);
  }
  std::size_t Below(std::size_t limit) { return random_() % limit; }
  // One of a few subjects, in one of a few spellings.
  std::string Subject() {
    std::string subject = "subject ";
    subject += static_cast<char>('a' + Below(12));
    if (Below(2) == 0) subject[0] = 'S';
    if (Below(2) == 0) subject.back() = static_cast<char>(subject.back() - 'a' + 'A');
    return subject;
  }
  void Compare() {
    ASSERT_EQ(static_cast<DWORD>(list_.Number("First Message Index")), model_.first);
    ASSERT_EQ(static_cast<DWORD>(list_.Number("Last Message Index")), model_.last);
    ASSERT_EQ(static_cast<DWORD>(list_.Number("Message Count")), model_.count);
    ASSERT_EQ(Rows(list_), model_.list);
  }
  void CompareElements() {
    for (DWORD index = 0; index < model_.last + 5; ++index) {
      TMail item;
      const auto element = model_.elements.find(index);
      ASSERT_EQ(list_.OpenMessage(index, &item), element != model_.elements.end()) << index;
      if (element != model_.elements.end()) {
        ASSERT_STREQ(item.String("SUBJECT"), element->second.c_str());
      }
    }
  }

  void InsertOne() {
    const std::string subject = Subject();
    const auto linkId = static_cast<DWORD>(Below(8) == 0 ? 1 : 0);
    auto item = NewMessage(subject.c_str());
    item->Number("LINK ID", static_cast<LONG>(linkId));
    ASSERT_EQ(list_.InsertMessage(*item), model_.InsertNamed(subject, linkId));
  }
  void RemoveOne() {
    const DWORD index = model_.list.empty() || Below(8) == 0
                            ? static_cast<DWORD>(Below(model_.last + 3))
                            : model_.list[Below(model_.list.size())].index;
    ASSERT_EQ(list_.RemoveMessage(index), model_.Remove(index));
  }
  void Step() {
    const std::size_t choice = Below(12);
    if (choice < 6) {
      InsertOne();
    } else if (choice < 8) {
      RemoveOne();
    } else if (choice == 8) {
      const std::string subject = Subject();
      ASSERT_EQ(list_.FindMessage(subject.c_str()), model_.Find(subject));
    } else if (choice == 9) {
      model_.most = static_cast<DWORD>(Below(14));
      list_.Number("Max Message Count", static_cast<LONG>(model_.most));
    } else if (choice == 10) {
      if (model_.list.empty()) return;
      const Row row = model_.list[Below(model_.list.size())];
      const std::string subject = Subject();
      model_.Write(row.index, row.linkId, subject);
      ASSERT_EQ(list_.WriteMessageInfo(row.index, row.linkId, subject.c_str()), 1);
    } else if (Below(4) == 0) {
      ASSERT_EQ(Open(0), 1);
    }
  }

  test::TemporaryDirectory directory_;
  TContributor list_;
  Model model_;
  std::mt19937 random_;
};

TEST_F(ContributorModel, BehavesAsItsModel) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  random_.seed(seed);
  for (int step = 0; step < 600; ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    Step();
    if (HasFatalFailure()) return;
    Compare();
    if (HasFatalFailure()) return;
  }
  CompareElements();
}

}  // namespace
}  // namespace board_test
