// One run of the HTML task.
#include "shared/page_run.h"

#include "frame/reporting.h"
#include "shared/page_names.h"
#include "shared/site_paths.h"
#include "store/ascii.h"
#include "store/guard.h"
#include "text/page_fields.h"

#include <algorithm>
#include <new>
#include <optional>

namespace brevant {
namespace {

TLinkFollower::TSettings LinkSettings(const TSetup& setup, const TPersistentState* state) {
  TLinkFollower::TSettings settings;
  settings.templateDirectory = setup.String("HTML Template Directory");
  settings.privateFiles = {"error.log", FileNameOf(setup.Path())};
  if (state != nullptr) settings.privateFiles.push_back(FileNameOf(state->Path()));
  return settings;
}

}  // namespace

TPageRun::TPageRun(TSetup& setup, const TPersistentState* state, const std::atomic<int>& goOn,
                   std::function<void()> trace)
    : setup_(setup),
      goOn_(goOn),
      trace_(std::move(trace)),
      site_(setup, goOn),
      store_(setup.String("Local Directory")),
      links_(LinkSettings(setup, state), store_, *this),
      dispatcher_(&site_, [this](const char* message) {
        if (reported_.insert(message).second) DisplayHistory("%s", message);
      }) {
  std::vector<std::unique_ptr<TPageField>> fields = MakePageFields(site_);
  for (std::unique_ptr<TPageField>& field : fields) {
    dispatcher_.AddField(std::move(field));
  }
}

bool TPageRun::Make() {
  const unsigned failures = silentFailures;
  store_.Scan();
  AddMainPages();
  for (std::size_t page = 0; page < site_.Pages().Count() && goOn_ != 0; ++page) {
    DisplayProgress(static_cast<int>(page), static_cast<int>(site_.Pages().Count()));
    MakePage(page, failures);
  }
  const bool closed = site_.CloseFiles();
  return closed && saved_ && !site_.DataFileFailed() && goOn_ != 0;
}

void TPageRun::AddMainPages() {
  const std::string directory = setup_.String("HTML Template Directory");
  for (const char* setting : kMainPageSettings) {
    const std::string file = TemplateFileName(setup_.String(setting));
    if (file.empty()) continue;
    TPage page;
    page.templateNumber = site_.Templates().Intern(directory, file);
    site_.Pages().Add(site_.Templates().At(page.templateNumber).fileName, page);
  }
}

void TPageRun::MakePage(std::size_t number, unsigned failures) {
  trace_();
  const std::string fileName = site_.Pages().FileName(number);
  DisplayStatus("Processing [%s]", fileName.c_str());
  const TTemplate& file = site_.Templates().Load(site_.Pages().At(number).templateNumber);
  if (!file.found) {
    DisplayHistory("Cannot open %s", file.path.c_str());
    return;
  }
  TPageWriter page(&dispatcher_);
  if (!site_.BeginPage(number, page)) {
    site_.EndPage();
    return;
  }
  page.Feed(file.bytes);
  page.Flush();
  page.ExpandSections();
  if (!links_.Follow(page, file.directory, goOn_)) saved_ = false;
  site_.EndPage();
  // A page in which a value is missing for want of memory would not be made again.
  if (silentFailures != failures) throw std::bad_alloc();
  // A page that an abort left half made is not shown.
  if (goOn_ != 0) SavePage(fileName, file, page);
}

void TPageRun::SavePage(const std::string& fileName, const TTemplate& file,
                        const TPageWriter& page) {
  const std::optional<TFileFacts> present = store_.FindPage(fileName);
  const bool due = !present || present->written < std::max(file.written, page.SourceTime());
  // An item under a number that was used before, or one with an old date, makes no page due; but
  // what was deleted must not stay in sight.
  const bool watched = !due && present->attributes == kOwnFileAttributes && !site_.PageShowsTime();
  if (!due && !watched) return;
  const bool same = present && store_.Holds(*present, page);
  if (same && !due) return;
  // A site in the template directory would overwrite what its pages are made from.
  const bool onTemplate =
      EqualsIgnoreCase(FullPath(store_.Directory() + fileName), FullPath(file.path));
  const bool saved = !onTemplate && (same ? store_.Touch(fileName) : store_.Save(fileName, page));
  if (saved) return;
  DisplayHistory("Cannot save %s", (store_.Directory() + fileName).c_str());
  saved_ = false;
}

void TPageRun::RequestLinkedPage(const std::string& path, const TFileFacts& file,
                                 const std::string& baseDirectory) {
  const std::string name = WithoutExtension(file.name);
  const std::string setting = "HTML File - " + name;
  const std::string assigned = TemplateFileName(setup_.String(setting.c_str()));
  if (assigned.empty()) {
    const std::string directory = path.substr(0, path.size() - file.name.size());
    site_.RequestPage(file.name, site_.Templates().Intern(directory, file.name, baseDirectory));
    return;
  }
  const std::string priority = "HTML File Priority - " + name;
  if (setup_.String(priority.c_str()) != std::string_view("Low")) {
    setup_.String(priority.c_str(), "Low");
  }
  site_.RequestPage(file.name, site_.Templates().Intern(setup_.String("HTML Template Directory"),
                                                        assigned, baseDirectory));
}

}  // namespace brevant
