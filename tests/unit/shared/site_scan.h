// A site of plain and other files, for tests of file management.
#pragma once

#include "html_board.h"
#include "shared/linktask.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace test {

class SiteScan : public HtmlBoard {
 protected:
  void SetUp() override { Set("HTML File - Forum list", "index"); }

  // A file of the site, with exactly these attributes; its directories are made.
  void File(const std::string& name, const std::string& bytes = "x",
            DWORD attributes = FILE_ATTRIBUTE_TEMPORARY) {
    Owners(name, bytes);
    EXPECT_NE(SetFileAttributesA(SitePath(name).c_str(), attributes), 0) << name;
  }
  // A file as other programs leave it.
  void Owners(const std::string& name, const std::string& bytes = "x") {
    std::filesystem::create_directories(std::filesystem::path(SitePath(name)).parent_path());
    WriteFileBytes(SitePath(name), bytes);
  }
  // The main page with this body.
  void Index(const std::string& body) { File("index.htm", body); }

  void MakeDue() {
    state_->Number("Last Local Directory Scan Time", DWORD{0});
    state_->Time("Last Site Update Time", TTime::Now());
  }
  int Scan() {
    MakeDue();
    history.clear();
    status.clear();
    TFileManagementTask task(setup_, state_);
    return task.Execute();
  }

  // The paths of all files below the site.
  std::vector<std::string> Left() const {
    std::vector<std::string> paths;
    const std::filesystem::path root = SitePath("");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (!entry.is_directory()) {
        paths.push_back(entry.path().lexically_relative(root).generic_string());
      }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  using Names = std::vector<std::string>;
};

// What is deleted can be seen only where a file can be plain.
class SiteScanErases : public SiteScan {
 protected:
  void SetUp() override {
    if (!KeepsAttributes()) GTEST_SKIP() << "this platform keeps no temporary attribute";
    SiteScan::SetUp();
  }
};

}  // namespace test
