// A small board for templates: containers with items of several kinds, and fields that show them.
#pragma once

#include "text/tag_dispatcher.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

struct Container {
  std::string name;
  std::vector<std::string> items;
};

// What tags see; walked by sections, read by fields.
class Board : public brevant::TSectionObjects {
 public:
  std::map<int, std::vector<Container>> containers;  // by kind
  std::map<int, int> container;                      // the current ones, by kind; absent: none
  std::map<int, int> item;
  std::vector<std::string> unreadable;  // items and containers that cannot be opened
  int walks = 0;

  std::size_t Begin(int kind, brevant::TFieldLevel level) override;
  bool Select(int kind, brevant::TFieldLevel level, std::size_t index) override;
  void End(int kind, brevant::TFieldLevel level) override;

  bool Has(int kind, brevant::TFieldLevel level) const;
  const std::string& ContainerName(int kind) const;
  const std::string& ItemName(int kind) const;

 private:
  std::vector<std::pair<std::map<int, int>, std::map<int, int>>> saved_;
};

// A field that writes what a function gives.
class Field : public brevant::TPageField {
 public:
  using Expansion = std::function<int(brevant::TPageWriter&, brevant::TFieldArguments)>;
  Field(Board& board, std::string name, int kind, brevant::TFieldLevel level, Expansion expansion,
        TTime time = {})
      : board_(board),
        name_(std::move(name)),
        kind_(kind),
        level_(level),
        expansion_(std::move(expansion)),
        time_(time) {}

  std::string_view Name() const override { return name_; }
  int Kind() const override { return kind_; }
  brevant::TFieldLevel Level() const override { return level_; }
  // "Nothing" names no page and "Bad" is no identifier; "*" and "All" are as without qualifier.
  brevant::TSelection Select(brevant::TTagDispatcher& dispatcher,
                             std::span<const std::string_view> qualifiers) override;
  int Expand(brevant::TPageWriter& page, brevant::TFieldArguments arguments) override {
    return expansion_(page, arguments);
  }
  TTime SourceTime() const override { return time_; }

 private:
  Board& board_;
  std::string name_;
  int kind_;
  brevant::TFieldLevel level_;
  Expansion expansion_;
  TTime time_;
};

// One page and all that makes it.
class Page {
 public:
  Board board;
  std::vector<std::string> errors;
  brevant::TFieldDispatcher dispatcher{&board,
                                       [this](const char* text) { errors.emplace_back(text); }};
  brevant::TPageWriter writer{&dispatcher};

  // The fields FORUM, MESSAGE (kind 1), LIST, LINK (kind 3): names of container and item.
  Page();
  void Add(const std::string& name, const std::string& value);
  void Add(const std::string& name, Field::Expansion expansion, int kind = 0,
           brevant::TFieldLevel level = brevant::TFieldLevel::kBoard, TTime time = {});
  // The whole template made into a page, without the breaks of long lines.
  std::string Make(std::string_view text);
};

// Two forums with items, two lists with links.
struct SectionPage : Page {
  SectionPage() {
    board.containers[1] = {{"F1", {"m1", "m2"}}, {"F2", {"m3"}}};
    board.containers[3] = {{"L1", {"k1"}}, {"L2", {}}};
  }
};

// One line an item: W word, S space, L line break, < start tag, / end tag.
std::string Dump(const brevant::TPageWriter& writer);
// The items of a text that is fed to a writer without dispatcher.
std::string ItemsOf(std::string_view text);
// The page in one line.
std::string OneLine(const brevant::TPageWriter& writer);

}  // namespace test
