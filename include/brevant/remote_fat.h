// What a web server is known to hold: the remote file table. Delivery compares the site with it, so
// that it never has to ask the server.
//
// The table is a profile file (the .ini format) with one section for each remote directory and in
// it one key for each file: NAME=SIZE,CHECKSUM, both decimal. Beside it, while a delivery changes
// the server and after one that was cut short, stands its journal (the table's name and ".jnl").
#pragma once

#include <brevant/platform_types.h>

#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace brevant {
class TFatJournal;
}

// One file on the server.
struct TRemoteFileRecord {
  std::string name;    // as the server has it; letter case counts
  DWORD checksum = 0;  // CRC-32, polynomial 0x04C11DB7, not reflected, from 0, not inverted
  DWORD size = 0;      // bytes, modulo 2^32
};

// One directory on the server: its files in the order in which they became known.
class BREVANT_API TRemoteDirectoryRecord {
 public:
  explicit TRemoteDirectoryRecord(std::string name);
  ~TRemoteDirectoryRecord();
  TRemoteDirectoryRecord(const TRemoteDirectoryRecord&) = delete;
  TRemoteDirectoryRecord& operator=(const TRemoteDirectoryRecord&) = delete;

  // The name of its section, exactly as it was given.
  const std::string& Name() const { return name_; }
  const std::list<TRemoteFileRecord>& Files() const { return files_; }
  // The file of exactly this name, or null; it belongs to the directory and stays until it is
  // removed.
  const TRemoteFileRecord* Find(std::string_view name) const;
  // Appends the file, or replaces the one of its name. 1, or 0 when memory runs out.
  int Put(const TRemoteFileRecord& file);
  // Takes the file out; 0 when there is none.
  int Remove(std::string_view name);
  // Gives the directory a section of the table even when it holds no file.
  void Keep();

  // Whether there is anything that the table file does not say yet. Clear after loading.
  bool Changed() const { return changed_; }
  // Whether the table file has, or is to have, a section for it.
  bool Kept() const { return kept_; }

 private:
  friend class TRemoteFAT;

  std::string name_;
  std::list<TRemoteFileRecord> files_;
  std::unordered_map<std::string_view, std::list<TRemoteFileRecord>::iterator> byName_;
  bool changed_ = false;
  bool kept_ = false;
};

// The whole table. Nothing throws; not for several threads, nor for two objects over one file.
class BREVANT_API TRemoteFAT {
 public:
  // Loads the table file at path; a missing one is an empty table. A value that is no pair of
  // numbers reads as 0 for what is missing. When the journal tells of a delivery that was killed,
  // what it says is first written into the table file: files that arrived are in, removed ones are
  // out, and one that was on its way has size and checksum 0, or no entry when it had none before.
  explicit TRemoteFAT(const char* path);
  // Saves. When that fails the journal stays, so that the next object over the file knows what this
  // one did.
  ~TRemoteFAT();
  TRemoteFAT(const TRemoteFAT&) = delete;
  TRemoteFAT& operator=(const TRemoteFAT&) = delete;

  // The directory of exactly this name, letter case included; a new empty one when there is none.
  // It belongs to the table. Null when memory runs out.
  TRemoteDirectoryRecord* RemoteDirectoryRecord(const char* name);
  // Forgets a directory; Save removes its section.
  void RemoveDirectoryRecord(const std::string& name);
  // The directories below name (which ends in separator), each without what follows its own
  // separator: "a" for the section "NAMEa/" and for "NAMEa/b/" alike. Ordered, none twice.
  std::set<std::string> NamesBelow(const std::string& name, char separator) const;

  // 0 when the table file or its journal is there and could not be read, or the journal not be
  // worked in. Such a table is empty and is never saved.
  int Loaded() const { return loaded_ ? 1 : 0; }
  // Whether the delivery before this one was cut short.
  int WasCutShort() const { return wasCutShort_ ? 1 : 0; }
  // Writes what changed into the table file, all of it or nothing; sections of directories without
  // changes keep every byte. 1, or 0 when it cannot be written.
  int Save();
  // This delivery is cut short, too: what is left of the journal tells the next one so.
  void CutShort() { cutShort_ = true; }
  // Where a delivery notes each step before and after it.
  brevant::TFatJournal& Journal() { return *journal_; }

 private:
  bool Load();
  bool LoadTable();
  bool Replay();
  bool AnyChanged() const;
  TRemoteDirectoryRecord& Record(const std::string& name);

  std::string path_;
  std::list<TRemoteDirectoryRecord> directories_;
  std::map<std::string, std::list<TRemoteDirectoryRecord>::iterator> byName_;
  std::set<std::string> removed_;
  std::unique_ptr<brevant::TFatJournal> journal_;
  bool loaded_ = false;
  bool wasCutShort_ = false;
  bool cutShort_ = false;
};
