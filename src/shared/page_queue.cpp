// The pages of one run.
#include "shared/page_queue.h"

namespace brevant {

int TTemplates::Intern(const std::string& directory, const std::string& fileName,
                       const std::string& baseDirectory) {
  TTemplate added;
  added.path = directory + fileName;
  const std::size_t name = added.path.find_last_of("/\\") + 1;
  added.fileName = added.path.substr(name);
  added.directory = baseDirectory.empty() ? added.path.substr(0, name) : baseDirectory;
  const auto [known, isNew] = numbers_.try_emplace(added.path + '\n' + added.directory,
                                                   static_cast<int>(templates_.size()));
  if (isNew) templates_.push_back(std::move(added));
  return known->second;
}

const TTemplate& TTemplates::Load(int number) {
  TTemplate& file = templates_[static_cast<std::size_t>(number)];
  if (!file.looked) {
    TFileFacts facts;
    file.looked = true;
    file.found = file.fileName.find_first_of("*?") == std::string::npos &&
                 FindFile(file.path, &facts) && ReadWholeFile(file.path, &file.bytes);
    file.written = facts.written;
  }
  return file;
}

void TPageQueue::Add(std::string_view fileName, const TPage& page) {
  if (names_.Insert(fileName).second) pages_.push_back(page);
}

}  // namespace brevant
