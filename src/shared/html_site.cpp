// The board as the pages of one run see it.
#include "shared/html_site.h"

#include "board/list_index.h"
#include "frame/reporting.h"
#include "shared/page_names.h"
#include "store/ascii.h"

#include <array>

namespace brevant {
namespace {

// Lists of items kept beside those in use.
constexpr std::size_t kKeptItemLists = 16;

// What the pages need to know of a kind of objects.
struct TKind {
  int kind;
  TBoardKind board;
  char letter;              // in page names
  const char* roleSetting;  // the template of a container's page
};
constexpr std::array<TKind, 1> kKinds = {{
    {kForumKind, TBoardKind::kForum, 'f', "HTML File - Message list"},
}};

const TKind& KindOf(int kind) {
  for (const TKind& known : kKinds) {
    if (known.kind == kind) return known;
  }
  return kKinds[0];
}

std::shared_ptr<const TItemList> ListOf(TForum& forum) {
  const TListIndex& index = forum.MessageIndex();
  std::vector<TListedItem> items;
  items.reserve(index.Size());
  for (std::size_t i = 0; i < index.Size(); ++i) {
    items.push_back({index.At(i).index, index.At(i).linkId});
  }
  return std::make_shared<const TItemList>(std::move(items));
}

}  // namespace

THtmlSite::THtmlSite(const TSetup& setup, const std::atomic<int>& goOn)
    : setup_(setup),
      goOn_(goOn),
      templateDirectory_(setup.String("HTML Template Directory")),
      siteDirectory_(setup.String("Local Directory")),
      cache_(setup.String("Data Directory")),
      selections_(1) {}

bool THtmlSite::Report(const TFieldError& error) {
  // Every page may walk over the same damaged file.
  if (reported_.insert(error).second) DisplayHistory("%s", error.c_str());
  return false;
}

// --- The page at hand ----------------------------------------------------------------------------

void THtmlSite::BeginPage(std::size_t page, TPageWriter& writer) {
  const TPage& wanted = pages_.At(page);
  page_ = page;
  writer_ = &writer;
  pageShowsTime_ = false;
  selections_.clear();
  TSelected& selected = selections_.emplace_back();
  if (wanted.container < 0) return;
  selected.kind = wanted.kind;
  selected.container = wanted.container;
  if (wanted.hasItem) selected.item = Items().Find(wanted.item);
}

void THtmlSite::EndPage() {
  selections_.clear();
  selections_.emplace_back();
  writer_ = nullptr;
}

std::string THtmlSite::BackPage() const {
  const TPage& page = pages_.At(page_);
  return page.hasBack ? *pages_.At(page.back).fileName : std::string();
}

TTime THtmlSite::SettingsTime() {
  // Not LastModifyTime, which is local: pages are compared by the times of their files.
  if (!settingsTime_) settingsTime_ = NewestFileTime(setup_.Path());
  return *settingsTime_;
}

// --- Objects -------------------------------------------------------------------------------------

int THtmlSite::ContainerCount(int kind) {
  return static_cast<int>(cache_.Names(KindOf(kind).board).size());
}

const std::string& THtmlSite::ContainerName(int kind, int position) {
  return cache_.Names(KindOf(kind).board)[static_cast<std::size_t>(position)];
}

int THtmlSite::FindContainer(int kind, std::string_view name) {
  const std::vector<std::string>& names = cache_.Names(KindOf(kind).board);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (EqualsIgnoreCase(names[i], name)) return static_cast<int>(i);
  }
  return -1;
}

int THtmlSite::CurrentContainer(int kind) const {
  return Top().kind == kind ? Top().container : -1;
}

int THtmlSite::CurrentItem(int kind) const { return Top().kind == kind ? Top().item : -1; }

TBoardCache::THandle THtmlSite::OpenContainer(int kind, int position, TFieldError* error) {
  TBoardCache::THandle file = cache_.Open(KindOf(kind).board, ContainerName(kind, position));
  if (!file) {
    dataFileFailed_ = true;
    *error = "Cannot open data file of ";
    error->append(ObjectKindWord(kind)).append(" ").append(ContainerName(kind, position));
  }
  return file;
}

TForum* THtmlSite::Container(TFieldError* error) {
  TSelected& selected = Top();
  if (!selected.file && selected.container >= 0) {
    selected.file = OpenContainer(selected.kind, selected.container, error);
  }
  return selected.file ? selected.file.Get() : nullptr;
}

const TItemList& THtmlSite::Items() {
  static const TItemList kEmpty;
  TSelected& selected = Top();
  if (selected.items) return *selected.items;
  const std::pair<int, int> key(selected.kind, selected.container);
  const auto known = itemLists_.find(key);
  if (known != itemLists_.end()) {
    selected.items = known->second;
    return *selected.items;
  }
  TFieldError error;
  TForum* container = Container(&error);
  if (container == nullptr) return kEmpty;
  if (itemLists_.size() >= kKeptItemLists) itemLists_.clear();
  selected.items = ListOf(*container);
  itemLists_.emplace(key, selected.items);
  return *selected.items;
}

TMail* THtmlSite::Item(TFieldError* error) {
  if (Top().mail) return Top().mail.get();
  TForum* container = Container(error);
  if (container == nullptr || Top().item < 0 || Top().item >= Items().Count()) return nullptr;
  // An item opens once: one that a selection further down holds is shared.
  for (const TSelected& below : selections_) {
    if (below.mail && below.kind == Top().kind && below.container == Top().container &&
        below.item == Top().item) {
      Top().mail = below.mail;
      return Top().mail.get();
    }
  }
  const DWORD index = Items().At(Top().item).index;
  auto mail = std::make_shared<TMail>();
  if (container->OpenMessage(index, mail.get()) == 0) {
    *error = "Cannot open message " + std::to_string(index) + " in ";
    error->append(ContainerName(Top().kind, Top().container));
    return nullptr;
  }
  Top().mail = std::move(mail);
  return Top().mail.get();
}

void THtmlSite::SelectContainer(int kind, int position) {
  TSelected& selected = selections_.emplace_back();
  selected.kind = kind;
  selected.container = position;
}

void THtmlSite::SelectItem(int position) {
  TSelected selected;
  selected.kind = Top().kind;
  selected.container = Top().container;
  selected.file = Top().file;
  selected.items = Top().items;
  selected.item = position;
  selections_.push_back(std::move(selected));
}

// --- Sections ------------------------------------------------------------------------------------

std::size_t THtmlSite::Begin(int kind, TFieldLevel level) {
  if (level == TFieldLevel::kContainer) {
    SelectContainer(kind, -1);
    return static_cast<std::size_t>(ContainerCount(kind));
  }
  const bool listed = CurrentContainer(kind) >= 0;
  SelectItem(-1);
  if (!listed) return 0;
  TFieldError error;
  const TForum* container = Container(&error);
  if (container == nullptr) return Report(error);
  // An item that is gone changes the page as one that is new does.
  writer_->AddSourceTime(container->Storage().ModificationTime());
  return static_cast<std::size_t>(Items().Count());
}

bool THtmlSite::Select(int kind, TFieldLevel level, std::size_t index) {
  if (goOn_ == 0) return false;
  TFieldError error;
  TSelected& selected = Top();
  selected.mail.reset();
  if (level == TFieldLevel::kItem) {
    selected.item = static_cast<int>(index);
    return Item(&error) != nullptr || Report(error);
  }
  selected.items.reset();
  selected.file.Release();
  selected.kind = kind;
  selected.container = static_cast<int>(index);
  return Container(&error) != nullptr || Report(error);
}

void THtmlSite::End(int, TFieldLevel) { Deselect(); }

// --- Names of pages ------------------------------------------------------------------------------

bool THtmlSite::NameContainerPage(int templateNumber, std::string* fileName, TFieldError* error) {
  const TForum* container = Container(error);
  if (container == nullptr) return false;
  *fileName = brevant::ContainerPageName(
      container->String("HTML Filename Prefix"), templates_.At(templateNumber).fileName,
      KindOf(Top().kind).letter, ContainerName(Top().kind, Top().container));
  return true;
}

bool THtmlSite::NameItemPage(int templateNumber, std::string* fileName, TFieldError* error) {
  const TForum* container = Container(error);
  if (container == nullptr) return false;
  *fileName = brevant::ItemPageName(
      container->String("HTML Filename Prefix"), templates_.At(templateNumber).fileName,
      KindOf(Top().kind).letter, ContainerName(Top().kind, Top().container),
      Items().At(Top().item).index);
  return true;
}

bool THtmlSite::ContainerPageName(int kind, int position, std::string* fileName,
                                  TFieldError* error) {
  SelectContainer(kind, position);
  const bool named = NameContainerPage(TemplateOfPage(), fileName, error);
  Deselect();
  return named;
}

bool THtmlSite::ItemPageName(int position, std::string* fileName, TFieldError* error) {
  SelectItem(position);
  const bool named = NameItemPage(TemplateOfPage(), fileName, error);
  Deselect();
  return named;
}

std::optional<int> THtmlSite::FindTemplate(const std::string& fileName, TFieldError* error) {
  const int number = templates_.Intern(templateDirectory_, fileName);
  if (templates_.Load(number).found) return number;
  *error = "Cannot open template " + fileName;
  return std::nullopt;
}

TPage THtmlSite::LinkedFromHere(int templateNumber) const {
  TPage page;
  page.templateNumber = templateNumber;
  page.back = static_cast<std::uint32_t>(page_);
  page.hasBack = true;
  return page;
}

void THtmlSite::RequestPage(const std::string& fileName, int templateNumber) {
  pages_.Add(fileName, LinkedFromHere(templateNumber));
}

bool THtmlSite::RequestContainerPage(std::string_view templateName, std::string* fileName,
                                     TFieldError* error) {
  const std::string file = TemplateFileName(
      templateName.empty() ? setup_.String(KindOf(Top().kind).roleSetting) : templateName);
  fileName->clear();
  if (file.empty()) return true;
  const std::optional<int> number = FindTemplate(file, error);
  if (!number || !NameContainerPage(*number, fileName, error)) return false;
  TPage page = LinkedFromHere(*number);
  page.kind = static_cast<std::int16_t>(Top().kind);
  page.container = Top().container;
  pages_.Add(*fileName, page);
  return true;
}

bool THtmlSite::RequestItemPage(std::string_view templateName, std::string* fileName,
                                TFieldError* error) {
  const std::optional<int> number = FindTemplate(TemplateFileName(templateName), error);
  if (!number || !NameItemPage(*number, fileName, error)) return false;
  TPage page = LinkedFromHere(*number);
  page.kind = static_cast<std::int16_t>(Top().kind);
  page.container = Top().container;
  page.item = Items().At(Top().item).index;
  page.hasItem = true;
  pages_.Add(*fileName, page);
  return true;
}

bool THtmlSite::SiteHolds(const std::string& fileName) {
  TFileFacts facts;
  return FindFile(siteDirectory_ + fileName, &facts);
}

}  // namespace brevant
