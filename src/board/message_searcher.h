// A walk through a container's message list, for the exported searches.
#pragma once

#include <brevant/board.h>

// At the end, and before the start, nothing is found.
class TMessageSearcher {
 public:
  explicit TMessageSearcher(TForum& forum) : forum_(forum) {}

  bool First() {
    found_ = forum_.StartMessageSearch() != 0;
    return found_ && Next();
  }

  bool Next() {
    found_ = forum_.ReadNextMessageInfo(&index_, &linkId_, subject_, sizeof subject_) != 0;
    forum_.EndMessageSearch();
    return found_;
  }

  bool Found() const { return found_; }
  DWORD Index() const { return index_; }
  DWORD LinkId() const { return linkId_; }
  const char* Subject() const { return subject_; }

 private:
  TForum& forum_;
  DWORD index_ = 0;
  DWORD linkId_ = 0;
  char subject_[128] = {};
  bool found_ = false;
};
