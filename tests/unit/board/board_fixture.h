// What the tests of the board share.
#pragma once

#include "support/temporary_directory.h"

#include <brevant/board.h>

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace board_test {

inline constexpr int kReadWrite = 2;
inline constexpr int kCreate = 4096;
inline constexpr int kExclusive = 16;
inline constexpr int kDeleteOnRelease = 0x04000000;

struct Row {
  DWORD index;
  DWORD linkId;
  std::string subject;
  bool operator==(const Row&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Row& row) {
  return out << row.index << ":" << row.linkId << " " << row.subject;
}

// The message list as its records have it.
inline std::vector<Row> Rows(TForum& forum) {
  std::vector<Row> rows;
  EXPECT_EQ(forum.StartMessageSearch(), 1);
  Row row{};
  char subject[256];
  while (forum.ReadNextMessageInfo(&row.index, &row.linkId, subject, sizeof subject)) {
    row.subject = subject;
    rows.push_back(row);
  }
  EXPECT_EQ(row.index, 0U);
  return rows;
}

inline std::vector<DWORD> Indices(TForum& forum) {
  std::vector<DWORD> indices;
  for (const Row& row : Rows(forum)) indices.push_back(row.index);
  return indices;
}

// A temporary message with a subject and a body.
inline std::unique_ptr<TMail> NewMessage(const char* subject, const std::string& body = "body") {
  std::unique_ptr<TMail> message(OpenMessage(0, nullptr));
  if (message == nullptr) throw std::runtime_error("no temporary message");
  message->String("SUBJECT", subject);
  message->Content().Write(body.data(), static_cast<int>(body.size()));
  return message;
}

inline DWORD Insert(TForum& forum, const char* subject, const std::string& body = "body") {
  return forum.InsertMessage(*NewMessage(subject, body));
}

inline std::string Body(TMail& message) {
  std::string body(message.Content().Size(), '\0');
  message.Content().Seek(0, 0);
  EXPECT_EQ(message.Content().Read(body.data(), static_cast<int>(body.size())),
            static_cast<int>(body.size()));
  return body;
}

// The bytes of a stream that nobody has open.
inline std::string StreamBytes(TStorage& storage, const char* name) {
  TStream stream(storage.Interface(), name, kReadWrite, 0, kExclusive);
  std::string bytes(stream.Size(), '\0');
  stream.Read(bytes.data(), static_cast<int>(bytes.size()));
  return bytes;
}

inline std::string RecordBytes(const std::string& key, const std::string& value,
                               std::size_t size = 128) {
  std::string bytes = key + '\0' + value;
  bytes.resize(size, '\0');
  return bytes;
}

// A forum file in a directory of its own.
class ForumTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Create(), 1); }

  int Create() { return forum_.Open("talk", Directory(), kReadWrite, kCreate, kExclusive); }
  int Reopen() {
    forum_.Close();
    return forum_.Open("talk", Directory(), kReadWrite, 0, kExclusive);
  }
  const char* Directory() const { return directory_.Path().c_str(); }

  test::TemporaryDirectory directory_;
  TForum forum_;
};

}  // namespace board_test
