// The library's frame: start and stop, tasks by name, the host's callbacks, the error log, the
// settings and the persistent state.
#pragma once

#include <brevant/store.h>

#include <atomic>
#include <memory>

namespace brevant {
class TSettingsCache;
}

#pragma GCC diagnostic push
// The table of virtual operations is fixed and has no destructor in it: stores are destroyed
// through CloseSetup and ClosePersistentState, which know the class.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// A profile-file store of texts and numbers in the section "Tavernix", with a cache of each.
class BREVANT_API TSetup {
 public:
  explicit TSetup(const char* fileName);
  ~TSetup();
  TSetup(const TSetup&) = delete;
  TSetup& operator=(const TSetup&) = delete;

  virtual const char* String(const char* key) const;
  virtual LONG Integer(const char* key) const;
  virtual DWORD Number(const char* key) const;
  virtual int String(const char* key, const char* value);
  virtual int Integer(const char* key, LONG value);
  virtual int Number(const char* key, DWORD value);
  virtual double Date(const char* key) const;
  virtual int Date(const char* key, double value);
  virtual TTime Time(const char* key) const;
  virtual int Time(const char* key, const TTime& value);
  virtual int SetString(const char* key, const char* value);
  virtual int SetNumber(const char* key, LONG value);
  virtual const char* DefaultString(const char* key) const;
  virtual DWORD DefaultNumber(const char* key) const;

  TTime LastModifyTime() const;
  // The profile file: the program directory and the file name given.
  const char* Path() const { return path_; }

 private:
  char path_[MAX_PATH + 1];
  std::unique_ptr<brevant::TSettingsCache> cache_;
};

// The store of what a run leaves behind.
class BREVANT_API TPersistentState : public TSetup {
 public:
  explicit TPersistentState(const char* fileName);
  int Error(const char* format, ...) BREVANT_PRINTF(2, 3);
  int Result(const char* format, ...) BREVANT_PRINTF(2, 3);
};
#pragma GCC diagnostic pop

// A job that the host creates by name and runs once.
class BREVANT_API TTask {
 public:
  TTask(TSetup* setup, TPersistentState* state);
  TTask(const TTask&) = delete;
  TTask& operator=(const TTask&) = delete;

  // Runs the whole job once; non-zero on success.
  virtual int Execute() = 0;
  // Asks the task to stop; may be called from another thread.
  virtual void Abort();
  virtual ~TTask();

 protected:
  std::atomic<int> continue_{1};
  TSetup* setup_;
  TPersistentState* state_;
};

using StatusFunction = void (*)(const char* text);
using HistoryFunction = void (*)(const char* text);
using ProgressFunction = void (*)(int done, int total);

extern "C" {
BREVANT_API int InitializeBrevant(TSetup* setup, TPersistentState* state)
    BREVANT_EXPORTED_AS(InitializeBrevant);
BREVANT_API int UninitializeBrevant() BREVANT_EXPORTED_AS(UninitializeBrevant);
BREVANT_API TTask* CreateTask(const char* name) BREVANT_EXPORTED_AS(CreateTask);
BREVANT_API void DestroyTask(TTask* task) BREVANT_EXPORTED_AS(DestroyTask);
BREVANT_API void SetVisualFunctions(const char* which, void* function)
    BREVANT_EXPORTED_AS(SetVisualFunctions);
BREVANT_API int LogError(const char* text) BREVANT_EXPORTED_AS(LogError);
// Sets the directory where the settings, the persistent state and error.log are looked for; null
// restores the default, the directory of the host executable. To be called before OpenSetup.
BREVANT_API int SetProgramDirectory(const char* path) BREVANT_EXPORTED_AS(SetProgramDirectory);

BREVANT_API TSetup* OpenSetup(const char* fileName) BREVANT_EXPORTED_AS(OpenSetup);
BREVANT_API void CloseSetup(TSetup* setup) BREVANT_EXPORTED_AS(CloseSetup);
BREVANT_API TPersistentState* OpenPersistentState(const char* fileName)
    BREVANT_EXPORTED_AS(OpenPersistentState);
BREVANT_API void ClosePersistentState(TPersistentState* state)
    BREVANT_EXPORTED_AS(ClosePersistentState);
}
