#include "calls/board.h"

#include "support/item_families.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <stdexcept>

namespace faults {

namespace {

void Require(bool done) {
  if (!done) throw std::runtime_error("the board cannot be made");
}

template <class Family>
void MakeList(const char* name, const char* data) {
  auto* list = Family::kCreate(name, data);
  Require(list != nullptr);
  for (const char* subject : {"First item", "Second item"}) {
    Require(Family::kInsertItem(NewMail(subject).get(), list) != 0);
  }
  Family::kClose(list);
}

void MakeForum(const std::string& data) {
  TForum* forum = CreateForum("Talk", data.c_str());
  Require(forum != nullptr);
  forum->String("Description", kLong);
  for (const char* subject : {"First", "Second", "Third"}) {
    Require(InsertMessage(NewMail(subject).get(), forum) != 0);
  }
  AddMailingList("one@lists.example.org", "The first list", forum);
  AddMailingList("two@lists.example.org", "The second list", forum);
  CloseMessage(OpenAnnouncement(forum));
  TForum below;
  Require(below.OpenTemporary(kGoes) != 0 && forum->InsertSubForum("Below", below) != 0);
  below.Close();
  CloseForum(forum);
}

}  // namespace

OwnedMail NewMail(const std::string& subject, const std::string& content) {
  OwnedMail mail(OpenMessage(0, nullptr));
  Require(mail != nullptr);
  mail->String("SUBJECT", subject.c_str());
  mail->String("FROM", "Ann <ann@example.org>");
  mail->Content().Write(content.data(), static_cast<int>(content.size()));
  return mail;
}

void MakeSmallBoard(const std::string& directory) {
  const std::string data = directory + "Data/";
  std::filesystem::create_directories(data);
  std::filesystem::create_directories(directory + "Site");
  MakeForum(data);
  MakeList<test::Articles>("List", data.c_str());
  MakeList<test::Links>("Links", data.c_str());
  MakeList<test::Answers>("Survey", data.c_str());
  TForum* forum = CreateForum("Old", data.c_str());
  Require(forum != nullptr);
  Require(InsertMessage(NewMail("Of old").get(), forum) != 0);
  forum->Number("Version", 2);
  CloseForum(forum);
  test::WriteFileBytes(directory + "settings.ini",
                       "[Tavernix]\r\nBBS Name=A board with a name of some length\r\n"
                       "POP3 Account=somebody with a long name\r\nPOP3 Server=pop.example.org\r\n"
                       "Page Count=123\r\n");
  test::WriteFileBytes(directory + "state.ini", "[Tavernix]\r\nResult=None so far\r\n");
  test::WriteFileBytes(directory + "server.fat",
                       "[~me/www/]\r\nindex.htm=100,12345\r\nold.htm=7,89\r\n");
  test::WriteFileBytes(directory + "error.log", "[5/1/98 0:07 PM   ] An old line\r\n");
  test::WriteFileBytes(directory + "file.bin", std::string(5000, 'f'));
}

}  // namespace faults
