#include "support/file_operations.h"

#include <cstring>

namespace test {

namespace {

void Put(std::string& bytes, std::uint64_t number) {
  char raw[sizeof number];
  std::memcpy(raw, &number, sizeof number);
  bytes.append(raw, sizeof raw);
}

void Put(std::string& bytes, const std::string& text) {
  Put(bytes, text.size());
  bytes += text;
}

class Reader {
 public:
  explicit Reader(const std::string& bytes) : bytes_(bytes) {}
  bool Number(std::uint64_t* number) {
    if (bytes_.size() - at_ < sizeof *number) return false;
    std::memcpy(number, bytes_.data() + at_, sizeof *number);
    at_ += sizeof *number;
    return true;
  }
  bool Text(std::string* text) {
    std::uint64_t size = 0;
    if (!Number(&size) || bytes_.size() - at_ < size) return false;
    text->assign(bytes_, at_, size);
    at_ += size;
    return true;
  }

 private:
  const std::string& bytes_;
  std::size_t at_ = 0;
};

}  // namespace

std::string Serialize(const FileOperation& operation) {
  std::string bytes;
  Put(bytes, static_cast<std::uint64_t>(operation.kind));
  Put(bytes, operation.file);
  Put(bytes, operation.offset);
  Put(bytes, operation.call);
  Put(bytes, operation.path);
  Put(bytes, operation.target);
  Put(bytes, operation.data);
  return bytes;
}

std::vector<FileOperation> ParseOperations(const std::string& bytes) {
  std::vector<FileOperation> operations;
  Reader reader(bytes);
  std::uint64_t kind = 0;
  FileOperation next;
  while (reader.Number(&kind) && reader.Number(&next.file) && reader.Number(&next.offset) &&
         reader.Number(&next.call) && reader.Text(&next.path) && reader.Text(&next.target) &&
         reader.Text(&next.data)) {
    next.kind = static_cast<OperationKind>(kind);
    operations.push_back(next);
  }
  return operations;
}

std::string Describe(const FileOperation& operation) {
  static constexpr const char* kNames[] = {"create", "write",          "resize",
                                           "sync",   "sync directory", "rename",
                                           "unlink", "make directory", "remove directory"};
  std::string text = kNames[static_cast<std::size_t>(operation.kind)];
  text += " " + (operation.path.empty() ? "." : operation.path);
  if (operation.kind == OperationKind::kRename) text += " to " + operation.target;
  if (operation.kind == OperationKind::kResize) text += " " + std::to_string(operation.offset);
  if (operation.kind == OperationKind::kWrite) {
    text += " " + std::to_string(operation.offset) + "+" + std::to_string(operation.data.size());
  }
  return text;
}

}  // namespace test
