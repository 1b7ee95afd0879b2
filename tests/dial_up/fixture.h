// A test with one of the doubles of the service's library.
#pragma once

#include "dial_up/service.h"
#include "platform/win32.h"

#include <brevant/dial_up.h>

#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

namespace dial_up_test {

using ras_double::Step;
using Texts = std::vector<std::string>;

// What the status function was shown, from whichever thread.
class Shown {
 public:
  static void Add(const char* text) {
    const std::lock_guard<std::mutex> guard(Mutex());
    All().emplace_back(text);
  }
  static Texts Take() {
    const std::lock_guard<std::mutex> guard(Mutex());
    Texts texts;
    texts.swap(All());
    return texts;
  }

 private:
  static std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static Texts& All() {
    static Texts texts;
    return texts;
  }
};

class DialUp : public ::testing::Test {
 protected:
  ~DialUp() override {
    HangUpRas();
    UnloadRasDLL();
    LetGo();
    Shown::Take();
  }

  // Loads the double, without letting the library know.
  void Prepare(const std::string& kind = "full") {
    const std::filesystem::path path = DIAL_UP_DOUBLES "/" + kind + "/RASAPI32.DLL";
    module_ = LoadLibraryA(std::filesystem::path(path).make_preferred().string().c_str());
    ASSERT_NE(module_, nullptr) << path;
    desk_ = DeskOf(module_);
    ASSERT_NE(desk_, nullptr);
    desk_->Reset();
  }
  static ras_double::Desk* DeskOf(HMODULE module) {
    const auto any = reinterpret_cast<void (*)()>(GetProcAddress(module, "ServiceDesk"));
    return any == nullptr ? nullptr : reinterpret_cast<ras_double::Desk* (*)()>(any)();
  }
  // The double, and the library knows it.
  void Load(const std::string& kind = "full") {
    Prepare(kind);
    ASSERT_EQ(LoadRasDLL(), 1);
  }
  void LetGo() {
    if (module_ == nullptr) return;
    desk_->Reset();
    FreeLibrary(module_);
    module_ = nullptr;
  }
  // A dial through these steps; its result when all threads have ended.
  int Dial(const std::vector<Step>& steps, StatusFunction show = &Shown::Add) {
    desk_->SetSteps(steps);
    const int result = DialUpRas(show, "Home", "somebody", "secret");
    desk_->WaitForThreads();
    return result;
  }

  HMODULE module_ = nullptr;
  ras_double::Desk* desk_ = nullptr;
};

}  // namespace dial_up_test
