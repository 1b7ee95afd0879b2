// The board as the pages of one run see it.
#include "shared/html_site.h"

#include "board/list_index.h"
#include "frame/reporting.h"
#include "shared/page_names.h"
#include "store/ascii.h"

#include <algorithm>
#include <array>
#include <utility>

namespace brevant {
namespace {

// Lists of items kept beside those in use.
constexpr std::size_t kKeptItemLists = 16;

// What the pages need to know of a kind of objects.
struct TKind {
  int kind;
  // The board files of the kind. Of two with one name only the first one's counts.
  std::array<std::optional<TBoardKind>, 2> boards;
  const char* roleSetting;  // the template of a container's page
};
constexpr std::array<TKind, 3> kKinds = {{
    {kForumKind, {TBoardKind::kForum}, "HTML File - Message list"},
    {kListKind, {TBoardKind::kLinkList, TBoardKind::kContributor}, "HTML File - Resource list"},
    {kQuestionKind, {TBoardKind::kQuestion}, "HTML File - Answer list"},
}};

const TKind& KindOf(int kind) {
  for (const TKind& known : kKinds) {
    if (known.kind == kind) return known;
  }
  return kKinds[0];
}

// What tells board files of one name apart in the names of their pages.
char LetterOf(TBoardKind board) {
  switch (board) {
    case TBoardKind::kContributor:
      return 'r';
    case TBoardKind::kLinkList:
      return 'l';
    case TBoardKind::kQuestion:
      return 'q';
    default:
      return 'f';
  }
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
      decodesText_(setup.Number("Decode Mail Text") != 0),
      cache_(setup.String("Data Directory")),
      selections_(1) {}

bool THtmlSite::Report(const TFieldError& error) {
  // Every page may walk over the same damaged file.
  if (reported_.insert(error).second) DisplayHistory("%s", error.c_str());
  return false;
}

// --- The page at hand ----------------------------------------------------------------------------

bool THtmlSite::BeginPage(std::size_t page, TPageWriter& writer) {
  const TPage& wanted = pages_.At(page);
  page_ = page;
  writer_ = &writer;
  // Characters without a name take eight bytes, and some scripts have no blanks.
  writer.KeepLongWords(decodesText_);
  pageShowsTime_ = false;
  selections_.clear();
  TSelected& selected = selections_.emplace_back();
  if (wanted.container < 0) return true;
  selected.kind = wanted.kind;
  selected.container = wanted.container;
  if (!wanted.hasItem) return true;
  selected.item = Items(wanted.kind).Find(wanted.item);
  if (selected.item >= 0) return true;
  TFieldError error;
  if (Container(wanted.kind, &error) == nullptr) return Report(error);
  return Report(CannotOpenItem(selected, wanted.item));
}

TFieldError THtmlSite::CannotOpenItem(const TSelected& selected, DWORD index) {
  return "Cannot open message " + std::to_string(index) + " in " +
         Listed(selected.kind, selected.container).name;
}

void THtmlSite::EndPage() {
  selections_.clear();
  selections_.emplace_back();
  writer_ = nullptr;
}

std::string THtmlSite::BackPage() const {
  const TPage& page = pages_.At(page_);
  return page.hasBack ? pages_.FileName(page.back) : std::string();
}

TTime THtmlSite::SettingsTime() {
  // Not LastModifyTime, which is local: pages are compared by the times of their files.
  if (!settingsTime_) settingsTime_ = NewestFileTime(setup_.Path());
  return *settingsTime_;
}

// --- Objects -------------------------------------------------------------------------------------

const THtmlSite::TContainers& THtmlSite::Containers(int kind) {
  const auto [known, isNew] = containers_.try_emplace(kind);
  TContainers& containers = known->second;
  if (!isNew) return containers;
  std::map<std::string, TListed> byName;
  for (const std::optional<TBoardKind>& board : KindOf(kind).boards) {
    if (!board) continue;
    for (const std::string& name : cache_.Names(*board)) {
      byName.try_emplace(LowerCased(name), TListed{*board, name});
    }
  }
  for (auto& [lower, listed] : byName) {
    containers.positions.emplace(lower, static_cast<int>(containers.ordered.size()));
    containers.ordered.push_back(std::move(listed));
  }
  return containers;
}

const THtmlSite::TListed& THtmlSite::Listed(int kind, int position) {
  return Containers(kind).ordered[static_cast<std::size_t>(position)];
}

int THtmlSite::ContainerCount(int kind) {
  return static_cast<int>(Containers(kind).ordered.size());
}

int THtmlSite::FindContainer(int kind, std::string_view name) {
  const TContainers& containers = Containers(kind);
  const auto found = containers.positions.find(LowerCased(name));
  return found == containers.positions.end() ? -1 : found->second;
}

const THtmlSite::TSelected* THtmlSite::Innermost(int kind) const {
  const auto found = std::find_if(selections_.rbegin(), selections_.rend(),
                                  [kind](const TSelected& one) { return one.kind == kind; });
  return found == selections_.rend() ? nullptr : &*found;
}

THtmlSite::TSelected* THtmlSite::Innermost(int kind) {
  return const_cast<TSelected*>(std::as_const(*this).Innermost(kind));
}

int THtmlSite::CurrentContainer(int kind) const {
  const TSelected* selected = Innermost(kind);
  return selected != nullptr ? selected->container : -1;
}

int THtmlSite::CurrentItem(int kind) const {
  const TSelected* selected = Innermost(kind);
  return selected != nullptr ? selected->item : -1;
}

TBoardCache::THandle THtmlSite::OpenContainer(int kind, int position, TFieldError* error) {
  const TListed& listed = Listed(kind, position);
  TBoardCache::THandle file = cache_.Open(listed.board, listed.name);
  if (!file) {
    dataFileFailed_ = true;
    *error = "Cannot open data file of ";
    error->append(ObjectKindWord(kind)).append(" ").append(listed.name);
  }
  return file;
}

TForum* THtmlSite::Container(int kind, TFieldError* error) {
  TSelected* selected = Innermost(kind);
  if (selected == nullptr || selected->container < 0) return nullptr;
  if (!selected->file) selected->file = OpenContainer(kind, selected->container, error);
  return selected->file ? selected->file.Get() : nullptr;
}

const TItemList& THtmlSite::Items(int kind) {
  static const TItemList kEmpty;
  TSelected* selected = Innermost(kind);
  if (selected == nullptr || selected->container < 0) return kEmpty;
  if (selected->items) return *selected->items;
  const std::pair<int, int> key(kind, selected->container);
  const auto known = itemLists_.find(key);
  if (known != itemLists_.end()) {
    selected->items = known->second;
    return *selected->items;
  }
  TFieldError error;
  TForum* container = Container(kind, &error);
  if (container == nullptr) return kEmpty;
  if (itemLists_.size() >= kKeptItemLists) itemLists_.clear();
  selected->items = ListOf(*container);
  itemLists_.emplace(key, selected->items);
  return *selected->items;
}

TMail* THtmlSite::Item(int kind, TFieldError* error) {
  TSelected* selected = Innermost(kind);
  if (selected == nullptr) return nullptr;
  if (selected->mail) return selected->mail.get();
  TForum* container = Container(kind, error);
  if (container == nullptr || selected->item < 0 || selected->item >= Items(kind).Count()) {
    return nullptr;
  }
  selected->mail = OpenItem(*selected, *container, error);
  return selected->mail.get();
}

std::shared_ptr<TMail> THtmlSite::OpenItem(const TSelected& selected, TForum& container,
                                           TFieldError* error) {
  // An item opens once: one that a selection further down holds is shared.
  for (const TSelected& below : selections_) {
    if (below.mail && below.kind == selected.kind && below.container == selected.container &&
        below.item == selected.item) {
      return below.mail;
    }
  }
  const DWORD index = selected.items->At(selected.item).index;
  auto mail = std::make_shared<TMail>();
  if (container.OpenMessage(index, mail.get()) != 0) return mail;
  *error = CannotOpenItem(selected, index);
  return nullptr;
}

void THtmlSite::SelectContainer(int kind, int position) {
  TSelected& selected = selections_.emplace_back();
  selected.kind = kind;
  selected.container = position;
}

void THtmlSite::SelectItem(int kind, int position) {
  TSelected selected;
  selected.kind = kind;
  if (const TSelected* around = Innermost(kind)) {
    selected.container = around->container;
    selected.file = around->file;
    selected.items = around->items;
  }
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
  SelectItem(kind, -1);
  if (!listed) return 0;
  TFieldError error;
  const TForum* container = Container(kind, &error);
  if (container == nullptr) return Report(error);
  // An item that is gone changes the page as one that is new does.
  writer_->AddSourceTime(container->Storage().ModificationTime());
  return static_cast<std::size_t>(Items(kind).Count());
}

bool THtmlSite::Select(int kind, TFieldLevel level, std::size_t index) {
  if (goOn_ == 0) return false;
  TFieldError error;
  TSelected& selected = *Innermost(kind);
  selected.mail.reset();
  if (level == TFieldLevel::kItem) {
    selected.item = static_cast<int>(index);
    return Item(kind, &error) != nullptr || Report(error);
  }
  selected.items.reset();
  selected.file.Release();
  selected.container = static_cast<int>(index);
  return Container(kind, &error) != nullptr || Report(error);
}

void THtmlSite::End(int, TFieldLevel) { Deselect(); }

// --- Names of pages ------------------------------------------------------------------------------

bool THtmlSite::NameContainerPage(int kind, int templateNumber, std::string* fileName,
                                  TFieldError* error) {
  const TForum* container = Container(kind, error);
  if (container == nullptr) return false;
  const TListed& listed = Listed(kind, CurrentContainer(kind));
  *fileName = brevant::ContainerPageName(container->String("HTML Filename Prefix"),
                                         templates_.At(templateNumber).fileName,
                                         LetterOf(listed.board), listed.name);
  return true;
}

bool THtmlSite::NameItemPage(int kind, int templateNumber, std::string* fileName,
                             TFieldError* error) {
  const TForum* container = Container(kind, error);
  if (container == nullptr) return false;
  const TListed& listed = Listed(kind, CurrentContainer(kind));
  *fileName = brevant::ItemPageName(container->String("HTML Filename Prefix"),
                                    templates_.At(templateNumber).fileName, LetterOf(listed.board),
                                    listed.name, Items(kind).At(CurrentItem(kind)).index);
  return true;
}

bool THtmlSite::ContainerPageName(int kind, int position, std::string* fileName,
                                  TFieldError* error) {
  SelectContainer(kind, position);
  const bool named = NameContainerPage(kind, TemplateOfPage(), fileName, error);
  Deselect();
  return named;
}

bool THtmlSite::ItemPageName(int kind, int position, std::string* fileName, TFieldError* error) {
  SelectItem(kind, position);
  const bool named = NameItemPage(kind, TemplateOfPage(), fileName, error);
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

bool THtmlSite::RequestContainerPage(int kind, std::string_view templateName, std::string* fileName,
                                     TFieldError* error) {
  const std::string file = TemplateFileName(
      templateName.empty() ? setup_.String(KindOf(kind).roleSetting) : templateName);
  fileName->clear();
  if (file.empty()) return true;
  const std::optional<int> number = FindTemplate(file, error);
  if (!number || !NameContainerPage(kind, *number, fileName, error)) return false;
  TPage page = LinkedFromHere(*number);
  page.kind = static_cast<std::int16_t>(kind);
  page.container = CurrentContainer(kind);
  pages_.Add(*fileName, page);
  return true;
}

bool THtmlSite::RequestItemPage(int kind, std::string_view templateName, std::string* fileName,
                                TFieldError* error) {
  const std::optional<int> number = FindTemplate(TemplateFileName(templateName), error);
  if (!number || !NameItemPage(kind, *number, fileName, error)) return false;
  TPage page = LinkedFromHere(*number);
  page.kind = static_cast<std::int16_t>(kind);
  page.container = CurrentContainer(kind);
  page.item = Items(kind).At(CurrentItem(kind)).index;
  page.hasItem = true;
  pages_.Add(*fileName, page);
  return true;
}

std::optional<TPageSite::TSubTemplate> THtmlSite::SubTemplate(const std::string& fileName) {
  const TTemplate& file =
      templates_.Load(templates_.Intern(setup_.String("Program Directory"), fileName));
  if (!file.found) return std::nullopt;
  return TSubTemplate{file.path, file.bytes, file.written};
}

bool THtmlSite::SiteHolds(const std::string& fileName) {
  TFileFacts facts;
  return FindFile(siteDirectory_ + fileName, &facts);
}

}  // namespace brevant
