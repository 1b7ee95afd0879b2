// Page fields: how one finds the object that its tag names.
#include "text/page_fields.h"

#include "store/ascii.h"
#include "text/filters.h"
#include "text/safe_value.h"

#include <charconv>

namespace brevant {
namespace {

// In a tag, kept free for what the template's author writes behind a text of the board: a tag that
// is cut at the token limit loses its last quotation mark, and the page around becomes its value.
constexpr std::size_t kAuthorsRoom = 1024;

class TBoardField final : public TPageField {
 public:
  TBoardField(TPageSite& site, const TFieldRow& row) : site_(site), row_(row) {}

  std::string_view Name() const override { return row_.name; }
  int Kind() const override { return row_.kind; }
  TFieldLevel Level() const override { return row_.level; }

  TSelection Select(TTagDispatcher& dispatcher,
                    std::span<const std::string_view> qualifiers) override;
  void Deselect() override;
  int Expand(TPageWriter& page, TFieldArguments arguments) override {
    return row_.expand(TFieldCall{row_, site_, page, arguments});
  }
  TTime SourceTime() const override;

 private:
  bool IsItem() const { return row_.level == TFieldLevel::kItem; }
  int Current() const {
    return IsItem() ? site_.CurrentItem(row_.kind) : site_.CurrentContainer(row_.kind);
  }

  TPageSite& site_;
  const TFieldRow& row_;
  // A sub-template may expand this field again while it is being expanded, so each selection notes
  // whether there is one to undo.
  std::vector<bool> selected_;
};

TSelection TBoardField::Select(TTagDispatcher& dispatcher,
                               std::span<const std::string_view> qualifiers) {
  if (qualifiers.size() > 1 || (row_.kind == kNoKind && !qualifiers.empty())) {
    dispatcher.SetLastError(qualifiers.size() > 1 ? "Invalid identifiers" : "Invalid identifier");
    return TSelection::kFailed;
  }
  const std::string_view reference = qualifiers.empty() ? std::string_view() : qualifiers[0];
  const bool current = reference.empty() || reference == "*" || reference == "All";
  if (row_.kind != kNoKind && current && Current() < 0) return TSelection::kAll;
  if (!current) {
    int position = -1;
    TFieldError error;
    if (!FindReferenced(site_, row_.kind, row_.level, reference, &position, &error)) {
      dispatcher.SetLastError(error);
      return TSelection::kFailed;
    }
    if (position < 0) return TSelection::kNothing;
    if (IsItem()) {
      site_.SelectItem(row_.kind, position);
    } else {
      site_.SelectContainer(row_.kind, position);
    }
  }
  selected_.push_back(!current);
  return TSelection::kOne;
}

void TBoardField::Deselect() {
  if (selected_.back()) site_.Deselect();
  selected_.pop_back();
}

TTime TBoardField::SourceTime() const {
  if (row_.source == TFieldSource::kSettings) return site_.SettingsTime();
  TFieldError ignored;
  if (row_.source == TFieldSource::kItem) {
    const TMail* item = site_.Item(row_.kind, &ignored);
    return item == nullptr ? TTime() : item->Storage().ModificationTime();
  }
  const TForum* container = site_.Container(row_.kind, &ignored);
  return container == nullptr ? TTime() : container->Storage().ModificationTime();
}

// An item's identifier is its number, spelled as the name of its element is.
int FindItem(TPageSite& site, int kind, std::string_view identifier) {
  DWORD number = 0;
  const char* end = identifier.data() + identifier.size();
  const auto read = std::from_chars(identifier.data(), end, number);
  const bool spelled = read.ec == std::errc() && read.ptr == end && identifier[0] != '0';
  return spelled ? site.Items(kind).Find(number) : -1;
}

}  // namespace

const char* ObjectKindWord(int kind) {
  switch (kind) {
    case kContributorKind:
      return "contributor";
    case kListKind:
      return "resource list";
    case kQuestionKind:
      return "survey question";
    default:
      return "message forum";
  }
}

TForum* TFieldCall::Container(TFieldError* error) const { return site.Container(row.kind, error); }

TMail* TFieldCall::Item(TFieldError* error) const { return site.Item(row.kind, error); }

int TFieldCall::Write(std::string text, bool url) const {
  const bool escape = (page.Filters() & TPageWriter::kFilterEscape) != 0;
  const bool encode = url && page.InTag() && (page.Filters() & TPageWriter::kFilterUrl) != 0;
  if (site.DecodesText()) {
    // The "#" of a numeric reference is no part of the link.
    if (encode) UrlEncodeUtf8(text);
    if (escape) HtmlEscapeUtf8(text);
  } else {
    if (escape) HtmlEscape(text);
    if (encode) UrlEncode(text);
  }
  if (site.ShowsSafeHtml()) {
    DropControls(text);
    if (page.InTag()) GuardInTag(page.OpenTagText(), text);
    const std::size_t room = TPageWriter::kTokenLimit - kAuthorsRoom;
    if (page.InTag() && page.OpenTagText().size() + text.size() > room) return 1;
  }
  page.Feed(text);
  return 1;
}

int TFieldCall::WriteVisitors(std::string text, bool url) const {
  const bool isRefused =
      site.ShowsSafeHtml() && page.InTag() && !MayStandInTag(page.OpenTagText(), text);
  return isRefused ? 1 : Write(std::move(text), url);
}

int TFieldCall::Fail(std::string_view message) const {
  if (TTagDispatcher* dispatcher = page.Dispatcher()) dispatcher->SetLastError(message);
  return 0;
}

std::vector<std::unique_ptr<TPageField>> MakePageFields(TPageSite& site) {
  std::vector<std::unique_ptr<TPageField>> fields;
  fields.reserve(FieldTable().size());
  for (const TFieldRow& row : FieldTable())
    fields.push_back(std::make_unique<TBoardField>(site, row));
  return fields;
}

TReferenceResult ResolveReference(std::string_view reference, int current, int count) {
  const auto entry = [](bool there, int position) {
    return there ? TReferenceResult{TReference::kEntry, position}
                 : TReferenceResult{TReference::kNone, -1};
  };
  if (reference.empty() || reference == "*" || reference == "All" || reference == "~" ||
      reference == "Current") {
    return entry(current >= 0, current);
  }
  if (reference == "Prev" || reference == "Previous") return entry(current > 0, current - 1);
  if (reference == "Next") return entry(current >= 0 && current + 1 < count, current + 1);
  if (reference == "First") return entry(count > 0, 0);
  if (reference == "Last") return entry(count > 0, count - 1);
  return {TReference::kIdentifier, -1};
}

bool FindReferenced(TPageSite& site, int kind, TFieldLevel level, std::string_view reference,
                    int* position, TFieldError* error) {
  const bool item = level == TFieldLevel::kItem;
  const bool listed = !item || site.CurrentContainer(kind) >= 0;
  const int count = !listed ? 0 : item ? site.Items(kind).Count() : site.ContainerCount(kind);
  const int current = item ? site.CurrentItem(kind) : site.CurrentContainer(kind);
  const TReferenceResult result = ResolveReference(reference, current, count);
  *position = result.position;
  if (result.what != TReference::kIdentifier) return true;
  if (listed) {
    *position = item ? FindItem(site, kind, reference) : site.FindContainer(kind, reference);
  }
  if (*position >= 0) return true;
  *error = "Cannot find data file of ";
  error->append(ObjectKindWord(kind)).append(" ").append(reference);
  return false;
}

}  // namespace brevant
