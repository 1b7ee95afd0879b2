// Random operations on a forum against a plain model of it, with the stated rules and nothing else.
#include "board_fixture.h"
#include "board_model.h"

#include <random>

namespace board_test {
namespace {

class ForumModel : public ForumTest {
 protected:
  void Compare() {
    ASSERT_EQ(static_cast<DWORD>(forum_.Number("First Message Index")), model_.first);
    ASSERT_EQ(static_cast<DWORD>(forum_.Number("Last Message Index")), model_.last);
    ASSERT_EQ(static_cast<DWORD>(forum_.Number("Message Count")), model_.count);
    ASSERT_EQ(Rows(forum_), model_.list);
  }
  void CompareElements() {
    for (DWORD index = 0; index < model_.last + 5; ++index) {
      TMail message;
      const auto element = model_.elements.find(index);
      ASSERT_EQ(forum_.OpenMessage(index, &message), element != model_.elements.end()) << index;
      if (element != model_.elements.end()) {
        ASSERT_STREQ(message.String("SUBJECT"), element->second.c_str());
      }
    }
  }
  DWORD Any() { return static_cast<DWORD>(random_() % (model_.last + 3)); }
  std::string Subject() { return "subject " + std::to_string(random_() % 1000); }

  void Step() {
    switch (random_() % 12) {
      case 0:
      case 1:
      case 2:
      case 3:
      case 4: {
        const std::string subject = Subject();
        const auto linkId = static_cast<DWORD>(random_() % 4);
        auto message = NewMessage(subject.c_str());
        message->Number("LINK ID", static_cast<LONG>(linkId));
        ASSERT_EQ(forum_.InsertMessage(*message), model_.Insert(subject, linkId));
        break;
      }
      case 5:
      case 6: {
        // Mostly a message that is there: a missing one moves the ends, and that is seen too.
        const DWORD index = model_.list.empty() || random_() % 8 == 0
                                ? Any()
                                : model_.list[random_() % model_.list.size()].index;
        ASSERT_EQ(forum_.RemoveMessage(index), model_.Remove(index));
        break;
      }
      case 7: {
        const DWORD index = Any();
        ASSERT_EQ(forum_.GetNextMessageIndex(index), model_.Next(index));
        ASSERT_EQ(forum_.GetPrevMessageIndex(index), model_.Previous(index));
        break;
      }
      case 8: {
        const DWORD index = 1 + Any();
        const std::string subject = Subject();
        model_.Change(index, 9, subject);
        ASSERT_EQ(forum_.ChangeMessageInfo(index, 9, subject.c_str()), 1);
        break;
      }
      case 9: {
        if (model_.list.empty()) break;
        const Row row = model_.list[random_() % model_.list.size()];
        const std::string subject = Subject();
        model_.Write(row.index, row.linkId, subject);
        ASSERT_EQ(forum_.WriteMessageInfo(row.index, row.linkId, subject.c_str()), 1);
        break;
      }
      case 10:
        model_.most = static_cast<DWORD>(random_() % 20);
        forum_.Number("Max Message Count", static_cast<LONG>(model_.most));
        break;
      default:
        ASSERT_EQ(forum_.Storage().Commit(), 1);
        if (random_() % 4 == 0) {
          ASSERT_EQ(Reopen(), 1);
        }
    }
  }

  Model model_;
  std::mt19937 random_;
};

TEST_F(ForumModel, BehavesAsItsModel) {
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
