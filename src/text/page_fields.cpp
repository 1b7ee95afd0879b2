// The table of page fields, and how a field finds the object that its tag names.
#include "text/page_fields.h"

#include "store/ascii.h"
#include "text/filters.h"
#include "text/page_field_functions.h"

#include <array>
#include <charconv>

namespace brevant {
namespace {

constexpr unsigned kDateDefault =
    kFormatDate | kFormatWeekday | kFormatYear | kFormatMonthName;  // 1045
constexpr unsigned kTimeDefault = kFormatTime;
constexpr unsigned kUrl = 1;

constexpr auto kBoard = TFieldLevel::kBoard;
constexpr auto kContainer = TFieldLevel::kContainer;
constexpr auto kItem = TFieldLevel::kItem;
constexpr auto kFromSettings = TFieldSource::kSettings;
constexpr auto kFromContainer = TFieldSource::kContainer;
constexpr auto kFromItem = TFieldSource::kItem;

// The first row of a name is the one that tags find.
constexpr TFieldRow kFields[] = {
    {"DATE", kNoKind, kBoard, kFromSettings, ExpandCurrentTime, "", kDateDefault},
    {"TIME", kNoKind, kBoard, kFromSettings, ExpandCurrentTime, "", kTimeDefault},
    {"BACK", kNoKind, kBoard, kFromSettings, ExpandBack},
    {"FORUM_NAME", kForumKind, kContainer, kFromContainer, ExpandContainerValue, "Name"},
    {"FORUM_DESCRIPTION", kForumKind, kContainer, kFromContainer, ExpandContainerValue,
     "Description"},
    {"FORUM_PREFIX", kForumKind, kContainer, kFromContainer, ExpandContainerValue,
     "HTML Filename Prefix", kUrl},
    {"FORUM_POST", kForumKind, kContainer, kFromContainer, ExpandContainerPost},
    {"FORUM_SIZE", kForumKind, kContainer, kFromContainer, ExpandContainerCount},
    {"SIZE", kForumKind, kContainer, kFromContainer, ExpandContainerCount},
    {"FORUM_FILENAME", kForumKind, kContainer, kFromContainer, ExpandContainerFileName},
    {"FORUM_NEXT", kForumKind, kContainer, kFromContainer, ExpandContainerReference, "Next"},
    {"FORUM_PREV", kForumKind, kContainer, kFromContainer, ExpandContainerReference, "Prev"},
    {"POST", kNoKind, kBoard, kFromSettings, ExpandBoardPost, "Message forum"},
    {"SUBMIT", kNoKind, kBoard, kFromSettings, ExpandBoardPost, "Resource list"},
    {"MESSAGE_DATE", kForumKind, kItem, kFromItem, ExpandItemCreated, "", kDateDefault},
    {"MESSAGE_TIME", kForumKind, kItem, kFromItem, ExpandItemCreated, "", kTimeDefault},
    {"MESSAGE_DATE_MODIFIED", kForumKind, kItem, kFromItem, ExpandItemModified, "", kDateDefault},
    {"MESSAGE_TIME_MODIFIED", kForumKind, kItem, kFromItem, ExpandItemModified, "", kTimeDefault},
    {"MESSAGE_FROM", kForumKind, kItem, kFromItem, ExpandItemValue, "From Name"},
    {"MESSAGE_FROM_ADDRESS", kForumKind, kItem, kFromItem, ExpandItemValue, "From EMail Address",
     kUrl},
    {"MESSAGE_SUBJECT", kForumKind, kItem, kFromItem, ExpandItemValue, "Subject"},
    {"MESSAGE_CHARSET", kForumKind, kItem, kFromItem, ExpandItemValue, "Charset"},
    {"MESSAGE_CONTENT", kForumKind, kItem, kFromItem, ExpandContent},
    {"MESSAGE_REPLY", kForumKind, kItem, kFromItem, ExpandReplyToBoard},
    {"MESSAGE_MAIL", kForumKind, kItem, kFromItem, ExpandReplyToAuthor},
    {"MESSAGE_FILENAME", kForumKind, kItem, kFromContainer, ExpandItemFileName},
    {"MESSAGE_PREV", kForumKind, kItem, kFromContainer, ExpandItemReference, "Prev"},
    {"MESSAGE_NEXT", kForumKind, kItem, kFromContainer, ExpandItemReference, "Next"},
    {"MESSAGE_ORIGINAL", kForumKind, kItem, kFromContainer, ExpandOriginal},
    {"MESSAGE_INDENTATION", kForumKind, kItem, kFromItem, ExpandIndentation, "<blockquote>"},
    {"MESSAGE_INDENTATION_END", kForumKind, kItem, kFromItem, ExpandIndentation, "</blockquote>"},
    {"MESSAGE_IS_NEW", kForumKind, kItem, kFromItem, ExpandIsNew},
    {"MESSAGE_ATTACHMENT_FILENAME", kForumKind, kItem, kFromItem, ExpandAttachmentFileName},
    {"MESSAGE_ATTACHMENT_CONTENT", kForumKind, kItem, kFromItem, ExpandAttachmentContent},
    {"MESSAGE_OTHER", kForumKind, kItem, kFromItem, ExpandOtherItemValue, "?", kUrl},
    {"SURVEY_SUBMIT", kNoKind, kBoard, kFromSettings, ExpandBoardPost, "Survey"},
};

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
  int Current() const {
    return row_.level == kItem ? site_.CurrentItem(row_.kind) : site_.CurrentContainer(row_.kind);
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
    if (row_.level == kItem) {
      site_.SelectItem(position);
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
  if (row_.source == kFromSettings) return site_.SettingsTime();
  TFieldError ignored;
  if (row_.source == kFromItem) {
    const TMail* item = site_.Item(&ignored);
    return item == nullptr ? TTime() : item->Storage().ModificationTime();
  }
  const TForum* container = site_.Container(&ignored);
  return container == nullptr ? TTime() : container->Storage().ModificationTime();
}

// An item's identifier is its number, spelled as the name of its element is.
int FindItem(TPageSite& site, std::string_view identifier) {
  DWORD number = 0;
  const char* end = identifier.data() + identifier.size();
  const auto read = std::from_chars(identifier.data(), end, number);
  const bool spelled = read.ec == std::errc() && read.ptr == end && identifier[0] != '0';
  return spelled ? site.Items().Find(number) : -1;
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

int TFieldCall::Fail(std::string_view message) const {
  if (TTagDispatcher* dispatcher = page.Dispatcher()) dispatcher->SetLastError(message);
  return 0;
}

std::vector<std::unique_ptr<TPageField>> MakePageFields(TPageSite& site) {
  std::vector<std::unique_ptr<TPageField>> fields;
  fields.reserve(std::size(kFields));
  for (const TFieldRow& row : kFields) fields.push_back(std::make_unique<TBoardField>(site, row));
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
  const int count = !listed ? 0 : item ? site.Items().Count() : site.ContainerCount(kind);
  const int current = item ? site.CurrentItem(kind) : site.CurrentContainer(kind);
  const TReferenceResult result = ResolveReference(reference, current, count);
  *position = result.position;
  if (result.what != TReference::kIdentifier) return true;
  if (listed) *position = item ? FindItem(site, reference) : site.FindContainer(kind, reference);
  if (*position >= 0) return true;
  *error = "Cannot find data file of ";
  error->append(ObjectKindWord(kind)).append(" ").append(reference);
  return false;
}

void WriteFiltered(TPageWriter& page, std::string text, bool url) {
  if ((page.Filters() & TPageWriter::kFilterEscape) != 0) HtmlEscape(text);
  if (url && page.InTag() && (page.Filters() & TPageWriter::kFilterUrl) != 0) UrlEncode(text);
  page.Feed(text);
}

}  // namespace brevant
