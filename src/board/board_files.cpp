#include "board/board_files.h"

#include "platform/win32.h"
#include "store/ascii.h"

#include <string>

namespace brevant {

int RenameBoardFile(const char* oldName, const char* newName, const char* directory,
                    const char* extension) {
  if (oldName == nullptr || newName == nullptr || directory == nullptr) return 0;
  return Guarded(0, [&] {
    const std::string from = std::string(directory) + oldName + extension;
    const std::string to = std::string(directory) + newName + extension;
    return MoveFileA(from.c_str(), to.c_str());
  });
}

int DeleteBoardFile(const char* name, const char* directory, const char* extension) {
  if (name == nullptr || directory == nullptr) return 0;
  return Guarded(0, [&] {
    const std::string path = std::string(directory) + name + extension;
    return DeleteFileA(path.c_str());
  });
}

TMail* OpenItem(DWORD index, TForum* container) {
  return Guarded<TMail*>(nullptr, [&]() -> TMail* {
    auto item = std::make_unique<TMail>();
    if (container != nullptr) {
      if (!container->OpenMessage(index, item.get())) return nullptr;
    } else {
      if (!item->OpenTemporary(kDeleteOnRelease)) return nullptr;
      item->SetTime(TTime::Now());
    }
    return item.release();
  });
}

DWORD ItemIndex(const TMail& item) {
  return static_cast<DWORD>(LeadingNumber(item.String("Name")));
}

}  // namespace brevant
