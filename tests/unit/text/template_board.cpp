#include "template_board.h"

#include <algorithm>

namespace test {

using brevant::TFieldArguments;
using brevant::TFieldLevel;
using brevant::TItem;
using brevant::TItemKind;
using brevant::TPageWriter;
using brevant::TSelection;

std::size_t Board::Begin(int kind, TFieldLevel level) {
  ++walks;
  saved_.emplace_back(container, item);
  if (level == TFieldLevel::kContainer) return containers[kind].size();
  if (level == TFieldLevel::kBoard || container.count(kind) == 0) return 0;
  return containers[kind][static_cast<std::size_t>(container[kind])].items.size();
}

bool Board::Select(int kind, TFieldLevel level, std::size_t index) {
  if (level == TFieldLevel::kContainer) {
    container[kind] = static_cast<int>(index);
    item.erase(kind);
    return std::find(unreadable.begin(), unreadable.end(), ContainerName(kind)) == unreadable.end();
  }
  item[kind] = static_cast<int>(index);
  return std::find(unreadable.begin(), unreadable.end(), ItemName(kind)) == unreadable.end();
}

void Board::End(int, TFieldLevel) {
  container = saved_.back().first;
  item = saved_.back().second;
  saved_.pop_back();
}

bool Board::Has(int kind, TFieldLevel level) const {
  return level == TFieldLevel::kBoard ||
         (level == TFieldLevel::kContainer ? container : item).count(kind) != 0;
}

const std::string& Board::ContainerName(int kind) const {
  return containers.at(kind).at(static_cast<std::size_t>(container.at(kind))).name;
}

const std::string& Board::ItemName(int kind) const {
  return containers.at(kind)
      .at(static_cast<std::size_t>(container.at(kind)))
      .items.at(static_cast<std::size_t>(item.at(kind)));
}

TSelection Field::Select(brevant::TTagDispatcher& dispatcher,
                         std::span<const std::string_view> qualifiers) {
  if (qualifiers.size() > 1) {
    dispatcher.SetLastError("Invalid identifiers");
    return TSelection::kFailed;
  }
  if (!qualifiers.empty() && qualifiers[0] == "Nothing") return TSelection::kNothing;
  if (!qualifiers.empty() && qualifiers[0] == "Bad") return TSelection::kFailed;
  return board_.Has(kind_, level_) ? TSelection::kOne : TSelection::kAll;
}

Page::Page() {
  for (int kind : {1, 3}) {
    Add(
        kind == 1 ? "FORUM" : "LIST",
        [this, kind](TPageWriter& page, TFieldArguments) {
          page.Feed(board.ContainerName(kind));
          return 1;
        },
        kind, TFieldLevel::kContainer);
    Add(
        kind == 1 ? "MESSAGE" : "LINK",
        [this, kind](TPageWriter& page, TFieldArguments) {
          page.Feed(board.ItemName(kind));
          return 1;
        },
        kind, TFieldLevel::kItem);
  }
}

void Page::Add(const std::string& name, const std::string& value) {
  Add(name, [value](TPageWriter& page, TFieldArguments) {
    page.Feed(value);
    return 1;
  });
}

void Page::Add(const std::string& name, Field::Expansion expansion, int kind, TFieldLevel level,
               TTime time) {
  dispatcher.AddField(
      std::make_unique<Field>(board, name, kind, level, std::move(expansion), time));
}

std::string Page::Make(std::string_view text) {
  writer.Feed(text);
  writer.Flush();
  writer.ExpandSections();
  return OneLine(writer);
}

std::string Dump(const TPageWriter& writer) {
  std::string lines;
  for (std::size_t i = 0; i < writer.ItemCount(); ++i) {
    const TItem item = writer.Item(i);
    lines += "WSL</"[static_cast<int>(item.kind)];
    if (item.kind != TItemKind::kSpace) lines += item.text;
    lines += '\n';
  }
  return lines;
}

std::string ItemsOf(std::string_view text) {
  TPageWriter writer;
  writer.Feed(text);
  writer.Flush();
  return Dump(writer);
}

std::string OneLine(const TPageWriter& writer) {
  std::string page;
  bool afterWord = false;
  for (std::size_t i = 0; i < writer.ItemCount(); ++i) {
    const TItem item = writer.Item(i);
    if (item.kind == TItemKind::kLineBreak) continue;
    const bool isWord = item.kind == TItemKind::kWord;
    if (isWord && afterWord) page += ' ';
    afterWord = isWord;
    if (item.kind == TItemKind::kStartTag) page += '<';
    if (item.kind == TItemKind::kEndTag) page += "</";
    page += item.text;
    if (item.kind == TItemKind::kStartTag || item.kind == TItemKind::kEndTag) page += '>';
  }
  return page;
}

}  // namespace test
