// A program directory of its own for every test.
#pragma once

#include "support/temporary_directory.h"

#include <brevant/frame.h>

#include <gtest/gtest.h>
#include <string>

namespace test {

class ProgramDirectoryTest : public testing::Test {
 protected:
  ProgramDirectoryTest() { SetProgramDirectory(directory_.Path().c_str()); }
  ~ProgramDirectoryTest() override { SetProgramDirectory(nullptr); }

  std::string File(const std::string& name) const { return directory_ / name; }
  std::string Bytes(const std::string& name) const { return ReadFileBytes(File(name)); }
  // The settings file with these lines in the section.
  void WriteSettings(const std::string& lines, const std::string& name = "settings.ini") const {
    WriteFileBytes(File(name), "[Tavernix]\r\n" + lines);
  }

  TemporaryDirectory directory_;
};

}  // namespace test
