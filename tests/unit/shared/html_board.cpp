#include "html_board.h"

#include "shared/html_site.h"
#include "shared/htmltask.h"
#include "support/file_attributes.h"
#include "text/page_fields.h"
#include "text/tag_dispatcher.h"

#include <brevant/brevant.h>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace test {

namespace fs = std::filesystem;

std::vector<std::string> HtmlBoard::history;
std::vector<std::string> HtmlBoard::status;
std::function<void()> HtmlBoard::onStatus;

namespace {

constexpr const char* kSettings = "board.ini";
constexpr std::uint64_t kTicksPerHour = 36000000000ULL;

constexpr int kReadWrite = 2;
constexpr int kCreate = 4096;
constexpr int kExclusive = 16;

std::unique_ptr<TForum> NewContainer(brevant::TBoardKind kind) {
  switch (kind) {
    case brevant::TBoardKind::kContributor:
      return std::make_unique<TContributor>();
    case brevant::TBoardKind::kLinkList:
      return std::make_unique<TLinkList>();
    case brevant::TBoardKind::kQuestion:
      return std::make_unique<TSurveyQuestion>();
    default:
      return std::make_unique<TForum>();
  }
}

void TakeHistory(const char* text) { HtmlBoard::history.emplace_back(text); }

void TakeStatus(const char* text) {
  HtmlBoard::status.emplace_back(text);
  if (HtmlBoard::onStatus) HtmlBoard::onStatus();
}

}  // namespace

HtmlBoard::HtmlBoard() {
  for (const char* part : {"Data", "Templates", "Site"}) fs::create_directory(root_ / part);
  WriteFileBytes(root_ / kSettings,
                 "[Tavernix]\r\nBBS Name=My Board\r\nE-Mail Address=board@example.org\r\n"
                 "HTML Template Directory=" +
                     root_ / "Templates/" + "\r\nData Directory=" + root_ / "Data/" +
                     "\r\nLocal Directory=" + root_ / "Site/" + "\r\n");
  SetProgramDirectory(root_.Path().c_str());
  setup_ = OpenSetup(kSettings);
  state_ = OpenPersistentState("state.ini");
  InitializeBrevant(setup_, state_);
  history.clear();
  status.clear();
  onStatus = nullptr;
  SetVisualFunctions("HISTORY", reinterpret_cast<void*>(&TakeHistory));
  SetVisualFunctions("STATUS", reinterpret_cast<void*>(&TakeStatus));
}

HtmlBoard::~HtmlBoard() {
  SetVisualFunctions("HISTORY", nullptr);
  SetVisualFunctions("STATUS", nullptr);
  UninitializeBrevant();
  CloseSetup(setup_);
  ClosePersistentState(state_);
  SetProgramDirectory(nullptr);
}

void HtmlBoard::MakeForum(const std::string& name, const std::string& description,
                          const std::string& prefix) {
  TForum* forum = CreateForum(name.c_str(), (root_ / "Data/").c_str());
  ASSERT_NE(forum, nullptr);
  if (!description.empty()) forum->String("Description", description.c_str());
  if (!prefix.empty()) forum->String("HTML Filename Prefix", prefix.c_str());
  CloseForum(forum);
}

DWORD HtmlBoard::Add(const std::string& forumName, const Post& post) {
  return AddTo(brevant::TBoardKind::kForum, forumName, post);
}

void HtmlBoard::MakeContainer(brevant::TBoardKind kind, const std::string& name,
                              const Values& values) {
  const std::unique_ptr<TForum> made = NewContainer(kind);
  ASSERT_NE(made->Open(name.c_str(), (root_ / "Data/").c_str(), kReadWrite, kCreate, kExclusive),
            0);
  for (const auto& [key, value] : values) made->String(key.c_str(), value.c_str());
}

std::unique_ptr<TForum> HtmlBoard::OpenContainer(brevant::TBoardKind kind,
                                                 const std::string& name) {
  std::unique_ptr<TForum> container = NewContainer(kind);
  EXPECT_NE(container->Open(name.c_str(), (root_ / "Data/").c_str(), kReadWrite, 0, kExclusive), 0);
  return container;
}

DWORD HtmlBoard::AddTo(brevant::TBoardKind kind, const std::string& name, const Post& post) {
  const std::unique_ptr<TForum> container = OpenContainer(kind, name);
  TMail* mail = OpenMessage(0, nullptr);
  mail->String("SUBJECT", post.subject.c_str());
  mail->String("FROM", post.from.c_str());
  if (!post.type.empty()) mail->String("Document Type", post.type.c_str());
  if (post.linkId != 0) mail->Number("LINK ID", post.linkId);
  for (const auto& [key, value] : post.values) mail->String(key.c_str(), value.c_str());
  mail->Content().Write(post.content.data(), static_cast<int>(post.content.size()));
  if (!post.attachments.empty()) {
    mail->CreateList("ATTACHMENT", 128);
    for (const auto& [stored, value] : post.attachments) {
      mail->WriteListItem(stored.c_str(), value.c_str(), -1);
    }
    mail->CloseList();
  }
  if (!post.time.IsZero()) mail->SetTime(post.time);
  const DWORD index = container->InsertMessage(*mail);
  CloseMessage(mail);
  return index;
}

void HtmlBoard::Remove(const std::string& forumName, DWORD index) {
  TForum* forum = OpenForum(forumName.c_str(), (root_ / "Data/").c_str());
  ASSERT_NE(forum, nullptr);
  EXPECT_EQ(RemoveMessage(index, forum), 1);
  CloseForum(forum);
}

void HtmlBoard::Set(const std::string& key, const std::string& value) {
  setup_->String(key.c_str(), value.c_str());
}

int HtmlBoard::Run() {
  history.clear();
  status.clear();
  THtmlTask task(setup_, state_);
  return task.Execute();
}

FILETIME HtmlBoard::WrittenAt(const std::string& path) {
  WIN32_FIND_DATAA data{};
  const HANDLE search = FindFirstFileA(path.c_str(), &data);
  if (search != INVALID_HANDLE_VALUE) FindClose(search);
  return data.ftLastWriteTime;
}

void HtmlBoard::Age(const std::string& path, int hours) {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const std::uint64_t ticks =
      TTime(now).Ticks() - static_cast<std::uint64_t>(hours) * kTicksPerHour;
  const HANDLE file = CreateFileA(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE) << path;
  EXPECT_NE(SetFileTime(file, nullptr, nullptr, &TTime::FromTicks(ticks).FileTime()), 0);
  CloseHandle(file);
}

void HtmlBoard::AgeSources(int hours) {
  Age(root_ / kSettings, hours);
  for (const char* part : {"Data", "Templates"}) {
    for (const auto& entry : fs::directory_iterator(root_ / part)) {
      if (entry.is_regular_file()) Age(entry.path().string(), hours);
    }
  }
}

std::vector<std::string> HtmlBoard::SiteFiles() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(root_ / "Site")) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool HtmlBoard::Logged(const std::string& text) const { return CountLogged(text) > 0; }

int HtmlBoard::CountLogged(const std::string& text) const {
  return static_cast<int>(std::count(history.begin(), history.end(), text));
}

std::string HtmlBoard::Unwrapped(std::string page) {
  for (std::size_t at; (at = page.find("\r\n")) != std::string::npos;) page.erase(at, 2);
  return page;
}

std::string HtmlBoard::ExpandIn(int kind, const std::string& text, const std::string& container,
                                DWORD item) {
  const std::atomic<int> goOn{1};
  brevant::THtmlSite site(*setup_, goOn);
  brevant::TPage page;
  page.templateNumber = site.Templates().Intern(root_ / "Templates/", "page.htm");
  page.kind = static_cast<std::int16_t>(kind);
  page.container = container.empty() ? -1 : site.FindContainer(kind, container);
  page.item = item;
  page.hasItem = item != 0;
  site.Pages().Add("page.htm", page);
  brevant::TFieldDispatcher dispatcher(&site, &TakeHistory);
  auto fields = brevant::MakePageFields(site);
  for (auto& field : fields) dispatcher.AddField(std::move(field));
  brevant::TPageWriter writer(&dispatcher);
  if (!site.BeginPage(0, writer)) return kNoPage;
  writer.Feed(text);
  writer.Flush();
  writer.ExpandSections();
  site.EndPage();
  pages_.clear();
  for (std::size_t i = 1; i < site.Pages().Count(); ++i) {
    pages_.push_back(site.Pages().FileName(i));
  }
  failed_ = site.DataFileFailed();
  return writer.Render();
}

bool HtmlBoard::KeepsAttributes() {
  const TemporaryDirectory directory;
  return KeepsFileAttributes(directory.Path());
}

}  // namespace test
