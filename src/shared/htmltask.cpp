// The HTML task.
#include "shared/htmltask.h"

#include "frame/reporting.h"
#include "shared/page_run.h"
#include "shared/task_makers.h"
#include "store/ascii.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>

namespace {

constexpr const char* kModule = "..\\shared\\htmltask.cpp";
constexpr const char* kLastUpdate = "Last Site Update Time";
constexpr std::array<std::string_view, 4> kDataExtensions = {".mwd", ".mwe", ".mwf", ".mwg"};

// By the name's own extension: a search by pattern looks at short names too.
TTime NewestDataFile(const std::string& directory) {
  TTime newest;
  brevant::ForEachFile(directory + "*", [&](const brevant::TFileFacts& file) {
    const std::string_view name = file.name;
    const std::string_view extension = name.substr(std::min(name.rfind('.'), name.size()));
    for (const std::string_view known : kDataExtensions) {
      if (brevant::EqualsIgnoreCase(extension, known)) newest = std::max(newest, file.written);
    }
  });
  return newest;
}

}  // namespace

THtmlTask::THtmlTask(TSetup* setup, TPersistentState* state) : TTask(setup, state) {}

void THtmlTask::TraceHere(int line) { brevant::Trace(state_, kModule, line); }

int THtmlTask::Execute() {
  int done = 0;
  try {
    done = ExecuteRun();
  } catch (const std::exception&) {
    // Out of memory: what was saved is whole, and the run counts as failed.
  }
  DisplayProgress(0, 0);
  return done;
}

bool THtmlTask::IsDue() const {
  TTime newest = setup_->LastModifyTime();
  const std::string templates = setup_->String("HTML Template Directory");
  const std::string data = setup_->String("Data Directory");
  newest = std::max(newest, brevant::LocalFileTime(brevant::NewestFileTime(templates + "*.*")));
  newest = std::max(newest, brevant::LocalFileTime(NewestDataFile(data)));
  const TTime last = state_ == nullptr ? TTime() : state_->Time(kLastUpdate);
  return last < newest;
}

int THtmlTask::ExecuteRun() {
  TraceHere();
  DisplayProgress(0, 100);
  if (setup_ == nullptr || continue_ == 0) return 0;
  if (!IsDue()) return 1;
  bool made = false;
  {
    brevant::TPageRun run(*setup_, state_, continue_, [this] { TraceHere(); });
    made = run.Make();
  }
  TraceHere();
  if (!made || continue_ == 0) return 0;
  if (state_ != nullptr) state_->Time(kLastUpdate, TTime::Now());
  return 1;
}

namespace brevant {

TTask* MakeHtmlTask(TSetup* setup, TPersistentState* state) {
  try {
    return new THtmlTask(setup, state);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace brevant
