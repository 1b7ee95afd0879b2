// Keeps what visitors wrote well-formed: every element that was opened is closed, in order, and
// stands where HTML allows it, so that a browser builds exactly this tree and no end tag reaches an
// element of the page around.
#pragma once

#include "text/safe_elements.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brevant {

class TSafeTree {
 public:
  // Elements inside more than this many others are left out, what they hold stays.
  static constexpr std::size_t kDeepest = 128;

  // html: what tags are appended to; it outlives the tree.
  explicit TSafeTree(std::string& html) : html_(html) {}

  // A start tag of an element of the list with what stands for it, such as `<td align="left">`.
  // Written unless the element has no place here.
  void Start(const TSafeElement& element, std::string_view tag);
  // An end tag; ignored when it ends nothing that was opened here.
  void End(const TSafeElement& element);
  // To be called before text that can be seen is appended.
  void BeforeText() {
    if (!pending_.empty()) Reopen();
  }
  bool IsOpen(std::string_view shownAs) const;
  // Closes what is still open.
  void Finish();

 private:
  struct TOpen {
    std::string_view name;  // as shown
    const TElementRule* rule;
    std::string tag;     // of formatting elements, to write it again
    bool ended = false;  // its end tag came while a block inside it was open
  };
  static constexpr int kNone = -1;

  bool HasRoom() const { return stack_.size() < kDeepest; }
  void Push(TOpen&& open);
  void Pop();
  void PushImplied(std::string_view name);
  void CloseTo(int position, bool goesOn);
  void CloseScopes(std::uint16_t scopes);
  void Reopen();
  int Innermost(std::string_view name) const;
  int InnermostTablePart() const;
  bool PrepareTablePart(std::string_view name);
  void PrepareTable();
  void PrepareItem(std::string_view name);
  bool PrepareLink();
  bool Prepare(const TSafeElement& element, const TElementRule* rule);
  int FindEnded(const TSafeElement& element) const;
  bool EndsPending(std::string_view name);
  bool EndsLeftOut(std::string_view name);
  int Top() const { return static_cast<int>(stack_.size()) - 1; }
  const TOpen& At(int position) const { return stack_[static_cast<std::size_t>(position)]; }

  std::string& html_;
  std::vector<TOpen> stack_;
  std::array<int, kScopes> scopes_{};  // how many open elements have each scope
  // Formatting elements that go on in the next text, outermost first.
  std::vector<TOpen> pending_;
  // Names of elements that were too deep, innermost last; their end tags end nothing.
  std::vector<std::pair<std::string_view, std::size_t>> leftOut_;
};

}  // namespace brevant
