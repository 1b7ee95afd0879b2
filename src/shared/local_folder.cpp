#include "shared/local_folder.h"

#include "platform/win32.h"
#include "shared/page_store.h"
#include "shared/short_name.h"
#include "shared/site_paths.h"
#include "store/ascii.h"

#include <utility>

namespace brevant {

bool TLocalScan::Scan(const std::string& path, TLocalFolder* folder) {
  int number = 0;
  return CanEnter(path) && ForEachEntry(path + "*.*", [&](const TFileFacts& entry) {
           if ((entry.attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
             if (!IsJournalName(entry.name)) TakeFile(path, entry.name, ++number, folder);
           } else if ((entry.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
             folder->kept.insert(entry.name);
           } else if (!IsUnfinishedName(entry.name)) {
             folder->folders.push_back(entry.name);
           }
           return goOn_ != 0;
         });
}

void TLocalScan::TakeFile(const std::string& path, const std::string& name, int number,
                          TLocalFolder* folder) {
  if (onFile) onFile(number);
  TLocalFile file;
  file.path = path + name;
  file.record.name = keepCase_ || !FitsShortName(name) ? name : LowerCased(name);
  std::optional<TFileSum> sum;
  if (!LeadsOut(file.path.c_str(), root_.c_str())) sum = summer_.Sum(file.path);
  if (sum) {
    file.record.checksum = sum->checksum;
    file.record.size = sum->size;
    folder->files.push_back(std::move(file));
  } else if (goOn_ != 0) {
    folder->kept.insert(file.record.name);
    if (onUnreadable) onUnreadable(file.record.name);
  }
}

}  // namespace brevant
