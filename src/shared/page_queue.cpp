// The pages of one run.
#include "shared/page_queue.h"

#include "store/ascii.h"

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

std::size_t TPageQueue::TIgnoreCase::operator()(const std::string& text) const {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(ToLowerAscii(c))) * 1099511628211U;
  }
  return static_cast<std::size_t>(hash);
}

bool TPageQueue::TIgnoreCase::operator()(const std::string& a, const std::string& b) const {
  return EqualsIgnoreCase(a, b);
}

void TPageQueue::Add(const std::string& fileName, TPage page) {
  const auto [name, isNew] = names_.insert(fileName);
  if (!isNew) return;
  page.fileName = &*name;
  pages_.push_back(page);
}

}  // namespace brevant
