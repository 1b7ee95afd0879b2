#include "text/tag_dispatcher.h"

#include "platform/win32.h"
#include "text/filters.h"

#include <algorithm>
#include <utility>

namespace brevant {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

std::string_view SkipBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

std::vector<std::string_view> SplitArguments(std::string_view list) {
  std::vector<std::string_view> arguments;
  while (arguments.size() < TTagParts::kMostTexts) {
    const std::size_t comma = list.find(',');
    arguments.push_back(SkipBlanks(list.substr(0, comma)));
    if (comma == kNone) break;
    list.remove_prefix(comma + 1);
  }
  return arguments;
}

void Join(const std::vector<std::string_view>& texts, char separator, std::string* joined) {
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i != 0) *joined += separator;
    *joined += texts[i];
  }
}

// The selection of one field, given back when its value is written.
class TFieldSelection {
 public:
  explicit TFieldSelection(TPageField& field) : field_(field) {}
  ~TFieldSelection() { field_.Deselect(); }
  TFieldSelection(const TFieldSelection&) = delete;
  TFieldSelection& operator=(const TFieldSelection&) = delete;

 private:
  TPageField& field_;
};

std::vector<std::string_view> Views(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

std::vector<std::string> Copies(const std::vector<std::string_view>& texts) {
  return {texts.begin(), texts.end()};
}

}  // namespace

TTagParts ParseTag(std::string_view tag) {
  TTagParts parts;
  const std::size_t open = tag.find('(');
  const std::size_t close = tag.find(')');
  if (open != kNone && close != kNone && close > open + 1) {
    parts.arguments = SplitArguments(tag.substr(open + 1, close - open - 1));
    tag = tag.substr(0, open);
  }
  for (std::size_t dot = tag.find('.'); dot != kNone; dot = tag.find('.')) {
    if (parts.qualifiers.size() < TTagParts::kMostTexts) {
      parts.qualifiers.push_back(tag.substr(0, dot));
    }
    tag.remove_prefix(dot + 1);
  }
  parts.name = tag;
  return parts;
}

std::string NormalForm(const TTagParts& parts) {
  std::string text;
  if (parts.qualifiers.empty()) {
    text += '*';
  } else {
    Join(parts.qualifiers, '.', &text);
  }
  text.append(1, '.').append(parts.name);
  if (!parts.arguments.empty()) {
    text += '(';
    Join(parts.arguments, ',', &text);
    text += ')';
  }
  return text;
}

TFieldDispatcher::TFieldDispatcher(TSectionObjects* objects, TReporter reporter)
    : objects_(objects), reporter_(std::move(reporter)) {}

void TFieldDispatcher::AddField(std::unique_ptr<TPageField> field) {
  fieldsByName_.try_emplace(field->Name(), field.get());
  fields_.push_back(std::move(field));
}

TPageField* TFieldDispatcher::FindField(std::string_view name) const {
  const auto found = fieldsByName_.find(name);
  return found != fieldsByName_.end() ? found->second : nullptr;
}

void TFieldDispatcher::Dispatch(TPageWriter& page, std::string_view tag) {
  std::string text(tag.substr(0, kLongestTag));
  if (page.InTag()) UrlDecode(text);
  HtmlDecode(text);
  const TTagParts parts = ParseTag(text);
  TPageField* field = FindField(parts.name);
  if (field == nullptr) {
    page.WriteLiteral("$" + std::string(tag) + "$");
    return;
  }
  if (Apply(page, *field, parts.qualifiers, parts.arguments) != TSelection::kAll) return;
  page.AddSection({NormalForm(parts), field, Copies(parts.arguments), Copies(parts.qualifiers),
                   field->Kind(), field->Level()});
}

// The walk has made the object current that the request stands for; a field that still asks for all
// has nothing to write.
void TFieldDispatcher::ExpandRequest(TPageWriter& page, const TSectionRequest& request) {
  Apply(page, *request.field, Views(request.qualifiers), Views(request.arguments));
}

TSelection TFieldDispatcher::Apply(TPageWriter& page, TPageField& field,
                                   std::span<const std::string_view> qualifiers,
                                   TFieldArguments arguments) {
  lastError_.clear();
  const TSelection selection = field.Select(*this, qualifiers);
  bool succeeded = selection != TSelection::kFailed;
  if (selection == TSelection::kOne) {
    TFieldSelection selected(field);
    succeeded = page.WriteField(field, arguments) != 0;
    page.AddSourceTime(field.SourceTime());
  }
  if (!succeeded) WriteError(page);
  return selection;
}

void TFieldDispatcher::WriteError(TPageWriter& page) {
  const std::string message = std::exchange(lastError_, {});
  if (!message.empty() && reporter_) reporter_(message.c_str());
  page.WriteLiteral(message.empty() ? "***ERROR***" : "***ERROR: " + message + "***", true);
}

}  // namespace brevant
