// The library's frame: start and stop, tasks, settings, state, error log, dial-up.
#include "calls/board.h"
#include "calls/row.h"
#include "frame/task_factory.h"
#include "support/temporary_directory.h"

#include <memory>

namespace faults {

namespace {

// --- Start, tasks, displays ----------------------------------------------------------------------

struct Stores {
  TSetup* setup = OpenSetup("settings.ini");
  TPersistentState* state = OpenPersistentState("state.ini");
  Stores() = default;
  ~Stores() {
    ClosePersistentState(state);
    CloseSetup(setup);
  }
  Stores(const Stores&) = delete;
  Stores& operator=(const Stores&) = delete;
};

void Initialize(Trial& run) {
  const Stores stores;
  run.Succeeds(run.Call([&] { return InitializeBrevant(stores.setup, stores.state); }) != 0);
  UninitializeBrevant();
}
void Uninitialize(Trial& run) {
  const Stores stores;
  InitializeBrevant(stores.setup, stores.state);
  run.Succeeds(run.Call([] { return UninitializeBrevant(); }) != 0);
}
void MakeTask(Trial& run) {
  const Stores stores;
  InitializeBrevant(stores.setup, stores.state);
  const char* name = brevant::TaskTable().front().name;
  TTask* task = run.Call([&] { return CreateTask(name); });
  run.Succeeds(task != nullptr);
  DestroyTask(task);
  UninitializeBrevant();
}
void FreeTask(Trial& run) {
  const Stores stores;
  InitializeBrevant(stores.setup, stores.state);
  TTask* task = CreateTask("HTML");
  run.Call([&] { DestroyTask(task); });
  run.Succeeds(true);
  UninitializeBrevant();
}
void SetVisuals(Trial& run) {
  run.Call([] {
    for (const char* which : {"STATUS", "HISTORY", "PROGRESS"}) SetVisualFunctions(which, nullptr);
  });
  run.Succeeds(true);
}
void AppendToLog(Trial& run) {
  const std::string before = test::ReadFileBytes(run.File("error.log"));
  const int result = run.Call([] { return LogError(kLong); });
  run.Succeeds(result == 1);
  const std::string log = test::ReadFileBytes(run.File("error.log"));
  run.Sees(static_cast<long long>(log.size()));
  run.Holds(log.starts_with(before), "the older lines stay");
  run.Holds(log == before || log.ends_with(std::string(kLong) + "\r\n"), "a line is whole");
}
void ChangeDirectory(Trial& run) {
  const std::string other = run.File("Data");
  run.Succeeds(run.Call([&] { return SetProgramDirectory(other.c_str()); }) != 0);
  SetProgramDirectory(run.Directory().c_str());
}

class Job : public TTask {
 public:
  Job() : TTask(nullptr, nullptr) {}
  int Execute() override { return continue_; }
};
void TaskBase(Trial& run) {
  const int result = run.Call([] {
    Job job;
    job.Abort();
    return job.Execute();
  });
  run.Succeeds(result == 0);
}

// --- Settings ------------------------------------------------------------------------------------

template <typename Store, Store* (*Open)(const char*), void (*Close)(Store*)>
void OpenStore(Trial& run) {
  Store* store = run.Call([] { return Open("a file of a name of some length.ini"); });
  run.Succeeds(store != nullptr);
  Close(store);
}
template <typename Store, Store* (*Open)(const char*), void (*Close)(Store*)>
void CloseStore(Trial& run) {
  Store* store = Open("settings.ini");
  store->String("BBS Name");
  run.Call([&] { Close(store); });
  run.Succeeds(true);
}
template <typename Store>
void MakeStore(Trial& run) {
  std::optional<Store> store;
  run.Call([&] { store.emplace("settings.ini"); });
  run.Sees(store->String("BBS Name"));
  run.Succeeds(store->Path()[0] != '\0');
}
void DestroyStore(Trial& run) {
  auto store = std::make_unique<TSetup>("settings.ini");
  store->String("BBS Name");
  run.Call([&] { store.reset(); });
  run.Succeeds(true);
}

constexpr char kKey[] = "A key of more than a few characters";

// Calls the operation of a fresh store over the settings.
template <typename Operation>
auto OfSettings(Trial& run, Operation operation) {
  TSetup setup("settings.ini");
  return run.Call([&] { return operation(setup); });
}
void ReadText(Trial& run) {
  TSetup setup("settings.ini");
  run.Sees(run.Call([&] { return setup.String("BBS Name"); }));
  run.SaysNothing();
}
void ReadNumber(Trial& run) {
  run.Sees(OfSettings(run, [](TSetup& setup) { return setup.Number("Page Count"); }));
  run.SaysNothing();
}
void ReadInteger(Trial& run) {
  run.Sees(OfSettings(run, [](TSetup& setup) { return setup.Integer("Page Count"); }));
  run.SaysNothing();
}
void ReadDate(Trial& run) {
  const double days = OfSettings(run, [](TSetup& setup) { return setup.Date("Page Count"); });
  run.Sees(static_cast<long long>(days * 86400));
  run.SaysNothing();
}
void ReadTime(Trial& run) {
  const TTime time = OfSettings(run, [](TSetup& setup) { return setup.Time("Page Count"); });
  run.Sees(time.UnixSeconds());
  run.SaysNothing();
}
void WriteText(Trial& run) {
  run.Succeeds(OfSettings(run, [](TSetup& setup) { return setup.String(kKey, kLong); }) != 0);
}
void WriteNumber(Trial& run) {
  run.Succeeds(
      OfSettings(run, [](TSetup& setup) { return setup.Number(kKey, DWORD{4'000'000'000}); }) > 0);
}
void WriteInteger(Trial& run) {
  run.Succeeds(OfSettings(run, [](TSetup& setup) { return setup.Integer(kKey, -7); }) > 0);
}
void WriteDate(Trial& run) {
  run.Succeeds(OfSettings(run, [](TSetup& setup) { return setup.Date(kKey, 35000.0); }) > 0);
}
void WriteTime(Trial& run) {
  run.Succeeds(OfSettings(run, [](TSetup& setup) {
                 return setup.Time(kKey, TTime(1998, 5, 1, 0, 7, 0));
               }) > 0);
}
void CacheText(Trial& run) {
  run.Succeeds(OfSettings(run, [](TSetup& setup) { return setup.SetString(kKey, kLong); }) >= 0);
}
void CacheNumber(Trial& run) {
  run.Succeeds(OfSettings(run, [](TSetup& setup) { return setup.SetNumber(kKey, 7); }) >= 0);
}
void DefaultText(Trial& run) {
  TSetup setup("settings.ini");
  run.Sees(run.Call([&] { return setup.DefaultString("E-Mail Address"); }));
  run.SaysNothing();
}
void DefaultNumberAndPath(Trial& run) {
  TSetup setup("settings.ini");
  run.Succeeds(run.Call([&] { return setup.DefaultNumber("A") == 0 && setup.Path() != nullptr; }));
}
void ModifyTime(Trial& run) {
  const TTime time = OfSettings(run, [](TSetup& setup) { return setup.LastModifyTime(); });
  run.Sees(static_cast<long long>(time.Ticks()));
  run.SaysNothing();
}
void StateError(Trial& run) {
  TPersistentState state("state.ini");
  run.Succeeds(run.Call([&] { return state.Error("%s, %d", kLong, 7); }) != 0);
}
void StateResult(Trial& run) {
  TPersistentState state("state.ini");
  run.Succeeds(run.Call([&] { return state.Result("%s, %d", kLong, 7); }) != 0);
}

// --- Dial-up, where there is no such service
// ------------------------------------------------------

void LoadService(Trial& run) {
  run.Sees(run.Call([] { return LoadRasDLL(); }));
  run.SaysNothing();
}
void WithoutService(Trial& run) {
  const bool nothing = run.Call([] {
    const bool found = HasRasConnection() != 0 || DialUpRas(nullptr, "a", "b", "c") != 0 ||
                       HangUpRas() != 0 || UnloadRasDLL() != 0;
    TRasSearch* search = StartRasSearch();
    const bool entries =
        FindFirstRasEntry(search) != nullptr || FindNextRasEntry(search) != nullptr;
    EndRasSearch(search);
    return !found && search == nullptr && !entries;
  });
  run.Succeeds(nothing);
}

}  // namespace

Rows FrameRows() {
  constexpr auto kQuiet = Row::Kind::kQuiet;
  return {
      {"InitializeBrevant", Initialize, kQuiet},
      {"UninitializeBrevant", Uninitialize, kQuiet},
      {"CreateTask", MakeTask},
      {"DestroyTask", FreeTask, kQuiet},
      {"SetVisualFunctions", SetVisuals, kQuiet},
      {"LogError", AppendToLog},
      {"SetProgramDirectory", ChangeDirectory},
      {"TTask::TTask TTask::~TTask TTask::Abort", TaskBase, kQuiet},
      {"OpenSetup", OpenStore<TSetup, OpenSetup, CloseSetup>},
      {"CloseSetup", CloseStore<TSetup, OpenSetup, CloseSetup>, kQuiet},
      {"OpenPersistentState",
       OpenStore<TPersistentState, OpenPersistentState, ClosePersistentState>},
      {"ClosePersistentState",
       CloseStore<TPersistentState, OpenPersistentState, ClosePersistentState>, kQuiet},
      {"TSetup::TSetup", MakeStore<TSetup>},
      {"TSetup::~TSetup", DestroyStore, kQuiet},
      {"TPersistentState::TPersistentState", MakeStore<TPersistentState>},
      {"TSetup::String", ReadText},
      {"TSetup::Number", ReadNumber},
      {"TSetup::Integer", ReadInteger},
      {"TSetup::Date", ReadDate},
      {"TSetup::Time", ReadTime},
      {"TSetup::String(writes)", WriteText},
      {"TSetup::Number(writes)", WriteNumber},
      {"TSetup::Integer(writes)", WriteInteger},
      {"TSetup::Date(writes)", WriteDate},
      {"TSetup::Time(writes)", WriteTime},
      {"TSetup::SetString", CacheText},
      {"TSetup::SetNumber", CacheNumber},
      {"TSetup::DefaultString", DefaultText},
      {"TSetup::DefaultNumber TSetup::Path", DefaultNumberAndPath, kQuiet},
      {"TSetup::LastModifyTime", ModifyTime},
      {"TPersistentState::Error", StateError},
      {"TPersistentState::Result", StateResult},
      {"LoadRasDLL", LoadService},
      {"UnloadRasDLL HasRasConnection DialUpRas HangUpRas StartRasSearch FindFirstRasEntry "
       "FindNextRasEntry EndRasSearch",
       WithoutService, kQuiet},
  };
}

}  // namespace faults
