// The file management task.
//
// The tree is looked through before any link is followed: only what was there then is read or
// deleted, so no text of a link opens anything outside the site, and a file that comes meanwhile
// stays.
#include "shared/linktask.h"

#include "frame/reporting.h"
#include "shared/page_names.h"
#include "shared/site_paths.h"
#include "shared/task_makers.h"
#include "store/guard.h"
#include "text/page_writer.h"
#include "text/unique_file.h"

#include <exception>
#include <new>
#include <unordered_set>

namespace {

constexpr const char* kModule = "..\\shared\\linktask.cpp";
constexpr const char* kLastScan = "Last Local Directory Scan Time";
constexpr const char* kLastUpdate = "Last Site Update Time";
constexpr DWORD kBlockBytes = 32768;

void TakeLinks(const brevant::TPageWriter& page, brevant::TKeptFiles& kept) {
  for (const std::string_view name : brevant::kLinkAttributes) {
    brevant::TAttribute link;
    for (bool found = page.FindAttribute(name, &link); found;
         found = page.FindAttribute(name, &link, link.item, link.end)) {
      kept.AddLink(link.value);
    }
  }
}

}  // namespace

TFileManagementTask::TFileManagementTask(TSetup* setup, TPersistentState* state)
    : TTask(setup, state) {}

void TFileManagementTask::TraceHere(int line) { brevant::Trace(state_, kModule, line); }

int TFileManagementTask::Execute() {
  int done = 0;
  try {
    done = ExecuteScan();
  } catch (const std::exception&) {
    // Out of memory: which files are linked is not known, so the rest stays.
  }
  if (worked_ != 0) DisplayProgress(0, 0);
  return done;
}

bool TFileManagementTask::IsDue() const {
  return setup_ != nullptr && state_ != nullptr &&
         state_->Time(kLastScan) < state_->Time(kLastUpdate);
}

int TFileManagementTask::ExecuteScan() {
  TraceHere();
  if (!IsDue()) return 1;
  worked_ = 1;
  const unsigned failures = brevant::silentFailures;
  DisplayStatus("Erasing orphaned temporary files");
  DisplayProgress(0, 100);
  brevant::TKeptFiles kept;
  AddMainPages(kept);
  TraceHere();
  const std::string directory = setup_->String("Local Directory");
  const std::string root = brevant::RootOf(directory);
  if (!brevant::CanEnter(root)) {
    DisplayHistory("Cannot change directory to %s (Local)", directory.c_str());
    return 0;
  }
  brevant::TSiteListing site(root);
  if (!site.Scan(continue_)) {
    DisplayHistory("Cannot open %s", directory.c_str());
    return 0;
  }
  if (!FollowLinks(site, kept)) return 0;
  // A setting that could not be read may name a main page.
  if (brevant::silentFailures != failures) return 0;
  EraseOrphans(site, kept);
  TraceHere();
  state_->Time(kLastScan, TTime::Now());
  return continue_ != 0 && worked_ != 0 ? 1 : 0;
}

void TFileManagementTask::AddMainPages(brevant::TKeptFiles& kept) const {
  for (const char* setting : brevant::kMainPageSettings) {
    const std::string name = setup_->String(setting);
    kept.Add(name);
    // The file that page generation makes of it.
    kept.Add(brevant::FileNameOf(brevant::TemplateFileName(name)));
  }
}

bool TFileManagementTask::FollowLinks(const brevant::TSiteListing& site,
                                      brevant::TKeptFiles& kept) {
  TraceHere();
  std::unordered_set<const std::string*> read;  // links may spell a page in many ways
  std::string name;
  while (continue_ != 0 && kept.NextPage(&name)) {
    const std::string* page = site.FindPage(name);
    if (page == nullptr || !read.insert(page).second) continue;
    const std::string path = site.FullPathOf(*page);
    // A link out of the site is a page of which nothing is known.
    const bool foreign = brevant::LeadsOut(path.c_str(), site.Root().c_str());
    if (!foreign && ReadPage(path, kept)) continue;
    DisplayHistory("Cannot open %s", page->c_str());
    return false;
  }
  return true;
}

bool TFileManagementTask::ReadPage(const std::string& path, brevant::TKeptFiles& kept) const {
  const brevant::UniqueFile file = brevant::UniqueFile::OpenToRead(path);
  if (!file) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
  }
  brevant::TPageWriter page;
  std::string block(kBlockBytes, '\0');
  while (continue_ != 0) {
    DWORD read = 0;
    if (ReadFile(file.Get(), block.data(), kBlockBytes, &read, nullptr) == 0) return false;
    if (read == 0) break;
    page.Feed(std::string_view(block).substr(0, read));
    TakeLinks(page, kept);
    page.ForgetItems();
  }
  return true;
}

void TFileManagementTask::EraseOrphans(const brevant::TSiteListing& site,
                                       const brevant::TKeptFiles& kept) {
  TraceHere();
  for (const std::string& path : site.PlainFiles()) {
    if (continue_ == 0) return;
    if (kept.Holds(path)) continue;
    const std::string file = site.FullPathOf(path);
    // Whoever wrote it since made it his own.
    const DWORD attributes = GetFileAttributesA(file.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && brevant::IsPlainFile(attributes)) {
      DeleteFileA(file.c_str());
    }
  }
}

namespace brevant {

TTask* MakeFileManagementTask(TSetup* setup, TPersistentState* state) {
  try {
    return new TFileManagementTask(setup, state);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace brevant
