// The library's frame: start and stop, tasks by name, the host's callbacks, the error log, the
// settings and the persistent state. Everything is to be called from one thread, the host's;
// TTask::Abort alone may come from another one. Nothing throws.
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

// A profile-file store of texts and numbers in the section "Tavernix", with a cache of each. Keys
// are compared ignoring letter case. What was once read or set stays in the cache for the store's
// lifetime; changes that others make to the file afterwards are not seen (see LastModifyTime).
// Writes are in the file when the call returns. A missing file reads as an empty one and is made by
// the first write.
//
// A key with a word that begins with "password" is kept scrambled in the file: each byte raised by
// its index in the text, modulo 256. A key with a word that begins with "directory" has a final
// separator when it is read: a slash when the text holds one, else a backslash.
//
// Texts returned belong to the store. They stay valid until the key is set again or the store is
// destroyed; the default of "E-Mail Address" only until it is asked for again.
class BREVANT_API TSetup {
 public:
  // A store over the file of that name in the program directory (see SetProgramDirectory), also
  // when the name begins with a separator. The file is not touched.
  explicit TSetup(const char* fileName);
  ~TSetup();
  TSetup(const TSetup&) = delete;
  TSetup& operator=(const TSetup&) = delete;

  // The text of a key: the cached one, else up to 255 bytes of the file's value, else (no value or
  // an empty one, which is not cached) DefaultString. Never null.
  virtual const char* String(const char* key) const;
  // Number as a signed value.
  virtual LONG Integer(const char* key) const;
  // The number of a key: the cached one, else the leading decimal number of up to 32 bytes of the
  // file's value (blanks, a sign, digits; modulo 2^32; 0 without digits), else DefaultNumber.
  virtual DWORD Number(const char* key) const;
  // Sets a text in the cache and in the file, where it keeps the caller's spelling (no separator is
  // added; line ends become blanks). Non-zero on success; 0 when memory runs out or the file cannot
  // be written.
  virtual int String(const char* key, const char* value);
  // As Number, of the same 32 bits.
  virtual int Integer(const char* key, LONG value);
  // Sets a number in the cache and, in decimal and unsigned, in the file. Non-zero on success, 0
  // when the file cannot be written, -1 when memory runs out.
  virtual int Number(const char* key, DWORD value);
  // The number as a date value: days since 30 December 1899, (number + 2209161578) / 86400. The
  // constant is 22 seconds short of the true distance on purpose; both directions use it.
  virtual double Date(const char* key) const;
  // Sets the number to value * 86400 - 2209161578, truncated; so a date that was read is stored as
  // the same number. Results as Number.
  virtual int Date(const char* key, double value);
  // The number as a point in time: seconds since 1970-01-01. A missing one is that first second.
  virtual TTime Time(const char* key) const;
  // Sets the number to the whole seconds since 1970-01-01, rounded down, modulo 2^32. Results as
  // Number.
  virtual int Time(const char* key, const TTime& value);
  // Sets a text in the cache only, with the final separator of a directory. The entry's index, or
  // -1 when memory runs out.
  virtual int SetString(const char* key, const char* value);
  // Sets a number in the cache only. The entry's index, or -1 when memory runs out.
  virtual int SetNumber(const char* key, LONG value);
  // What a text key without a value stands for: "Program Directory" the program directory,
  // "E-Mail Address" the texts of "POP3 Account" and "POP3 Server" with an at sign between,
  // "SMTP Server" the text of "POP3 Server", "BBS Short Name" the text of "BBS Name", "BBS Name"
  // "Tavernix"; any other the empty text.
  virtual const char* DefaultString(const char* key) const;
  // 0 for every key.
  virtual DWORD DefaultNumber(const char* key) const;

  // When the file was last written, as local time; zero when there is no file. A host that sees it
  // change behind its back opens the store anew.
  TTime LastModifyTime() const;
  // The profile file: the program directory and the file name given; empty when memory ran out.
  const char* Path() const;

 private:
  std::unique_ptr<brevant::TSettingsCache> cache_;
};

// The store of what a run leaves behind.
class BREVANT_API TPersistentState : public TSetup {
 public:
  explicit TPersistentState(const char* fileName);
  // Each formats up to 511 bytes and writes them under the key "Error" or "Result", into the file
  // only. Non-zero on success, 0 when the file cannot be written.
  int Error(const char* format, ...) BREVANT_PRINTF(2, 3);
  int Result(const char* format, ...) BREVANT_PRINTF(2, 3);
};
#pragma GCC diagnostic pop

// A job that the host creates by name and runs once.
class BREVANT_API TTask {
 public:
  // Both are borrowed and must outlive the task. The state may be null.
  TTask(TSetup* setup, TPersistentState* state);
  TTask(const TTask&) = delete;
  TTask& operator=(const TTask&) = delete;

  // Runs the whole job once; non-zero on success.
  virtual int Execute() = 0;
  // Asks the task to stop; may be called from another thread.
  virtual void Abort();
  virtual ~TTask();

 protected:
  std::atomic<int> continue_{1};  // cleared by Abort; loops test it before each item
  TSetup* setup_;
  TPersistentState* state_;
};

// Shows a line of text as the current status, or appends it to the host's list. The text is valid
// during the call only.
using StatusFunction = void (*)(const char* text);
using HistoryFunction = void (*)(const char* text);
// Shows how much of a job is done: (0, 100) when its size is not yet known, (0, 0) to clear.
using ProgressFunction = void (*)(int done, int total);

extern "C" {
// Starts the library: keeps both objects, which stay the host's, for every task, starts OLE and
// Windows Sockets 1.1, and lets the protocols report as errors do. state may be null. 1 on success,
// 0 when OLE or the sockets cannot be started; the objects are kept even then.
BREVANT_API int InitializeBrevant(TSetup* setup, TPersistentState* state)
    BREVANT_EXPORTED_AS(InitializeBrevant);
// Undoes that; to be called when every task is destroyed and before the objects are closed. The
// callbacks stay. Always 1.
BREVANT_API int UninitializeBrevant() BREVANT_EXPORTED_AS(UninitializeBrevant);
// Makes a task: "MAIL RETRIEVAL", "MAIL DISPATCH", "HTML", "FILE MANAGEMENT" or "FILE DELIVERY", in
// any letter case. Null for another name, a null one, or when memory runs out. Whatever the name,
// it is stored in the persistent state as "Last task created". To be freed with DestroyTask.
BREVANT_API TTask* CreateTask(const char* name) BREVANT_EXPORTED_AS(CreateTask);
// Destroys a task; null is ignored.
BREVANT_API void DestroyTask(TTask* task) BREVANT_EXPORTED_AS(DestroyTask);
// Sets one of the host's callbacks: which is "STATUS" (function is a StatusFunction), "HISTORY"
// (HistoryFunction) or "PROGRESS" (ProgressFunction), in any letter case; any other word changes
// nothing. Null switches the display off.
BREVANT_API void SetVisualFunctions(const char* which, void* function)
    BREVANT_EXPORTED_AS(SetVisualFunctions);
// Appends a line to error.log in the program directory: the local time in brackets, a blank, the
// text with control characters as blanks, CR LF. A file that cannot be opened, for example because
// another program has it open, gets no line. Always 1.
BREVANT_API int LogError(const char* text) BREVANT_EXPORTED_AS(LogError);
// Sets the directory where the settings, the persistent state and error.log are looked for; a
// relative path is taken from the current directory. Null restores the default, the directory of
// the host executable. To be called before OpenSetup. 1, or 0 (and nothing changes) for an empty
// path or when memory runs out.
BREVANT_API int SetProgramDirectory(const char* path) BREVANT_EXPORTED_AS(SetProgramDirectory);

// A store over that file of the program directory, to be closed with CloseSetup; null when memory
// runs out.
BREVANT_API TSetup* OpenSetup(const char* fileName) BREVANT_EXPORTED_AS(OpenSetup);
// Destroys the store; null is ignored.
BREVANT_API void CloseSetup(TSetup* setup) BREVANT_EXPORTED_AS(CloseSetup);
// As OpenSetup and CloseSetup, for the persistent state.
BREVANT_API TPersistentState* OpenPersistentState(const char* fileName)
    BREVANT_EXPORTED_AS(OpenPersistentState);
BREVANT_API void ClosePersistentState(TPersistentState* state)
    BREVANT_EXPORTED_AS(ClosePersistentState);
}
