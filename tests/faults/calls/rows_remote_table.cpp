// The remote file table: all its operations in one row, and its saving.
#include "calls/row.h"
#include "support/temporary_directory.h"

#include <brevant/remote_fat.h>

#include <memory>

namespace faults {

namespace {

constexpr char kSection[] = "~me/www/";

void Load(Trial& run) {
  const std::string path = run.File("server.fat");
  std::optional<TRemoteFAT> table;
  run.Call([&] { table.emplace(path.c_str()); });
  run.Succeeds(table->Loaded() != 0);
  TRemoteDirectoryRecord* directory = table->RemoteDirectoryRecord(kSection);
  run.Sees(static_cast<long long>(directory->Files().size()));
}

void ChangeAndSave(Trial& run) {
  const std::string path = run.File("server.fat");
  {
    TRemoteFAT table(path.c_str());
    const TRemoteFileRecord more{"a file of a name of some length.htm", 7, 8};
    run.Succeeds(run.Call([&] {
      TRemoteDirectoryRecord* directory = table.RemoteDirectoryRecord(kSection);
      if (directory == nullptr || directory->Find("index.htm") == nullptr) return false;
      const bool put = directory->Put(more) != 0;
      return put && directory->Remove("old.htm") != 0 && table.Save() != 0;
    }));
  }
  const std::string after = test::ReadFileBytes(path);
  run.Holds(after.find("index.htm=100,12345") != std::string::npos, "what stays is kept");
  // What could not be noted is not there; what was noted is, by the destructor.
  run.MayBePartOf("server.fat");
}

}  // namespace

Rows RemoteTableRows() {
  return {
      {"TRemoteFAT::TRemoteFAT", Load},
      {"TRemoteFAT::Save TRemoteFAT::RemoteDirectoryRecord TRemoteFAT::~TRemoteFAT "
       "TRemoteDirectoryRecord::TRemoteDirectoryRecord "
       "TRemoteDirectoryRecord::~TRemoteDirectoryRecord TRemoteDirectoryRecord::Find "
       "TRemoteDirectoryRecord::Put TRemoteDirectoryRecord::Remove",
       ChangeAndSave},
  };
}

}  // namespace faults
