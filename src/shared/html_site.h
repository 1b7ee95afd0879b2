// The board as the pages of one run see it: its containers and items, opened through the board
// cache, what is current, and the names of the pages.
#pragma once

#include "shared/board_cache.h"
#include "shared/page_queue.h"
#include "text/page_site.h"
#include "text/page_writer.h"
#include "text/sections.h"

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace brevant {

class THtmlSite final : public TPageSite, public TSectionObjects {
 public:
  // setup and goOn outlive the site. Walks over objects end when goOn is clear.
  THtmlSite(const TSetup& setup, const std::atomic<int>& goOn);

  // --- For the run -------------------------------------------------------------------------------
  TPageQueue& Pages() { return pages_; }
  TTemplates& Templates() { return templates_; }
  // Makes the objects of a page of the queue current; writer is where the page is written to.
  // False, told in the history, when the page's item is gone: it has no page any more.
  bool BeginPage(std::size_t page, TPageWriter& writer);
  // Lets go of the objects of the page.
  void EndPage();
  bool PageShowsTime() const { return pageShowsTime_; }
  // Adds a page that the page at hand links to.
  void RequestPage(const std::string& fileName, int templateNumber);
  // Whether a data file could not be opened so far.
  bool DataFileFailed() const { return dataFileFailed_; }
  // Closes all data files; false when a change to one was lost.
  bool CloseFiles() { return cache_.CloseAll() != 0; }

  // --- TPageSite ---------------------------------------------------------------------------------
  const TSetup& Setup() const override { return setup_; }
  TTime SettingsTime() override;
  bool DecodesText() const override { return decodesText_; }
  bool ShowsSafeHtml() const override { return safeHtml_; }
  int ContainerCount(int kind) override;
  int FindContainer(int kind, std::string_view name) override;
  int CurrentContainer(int kind) const override;
  int CurrentItem(int kind) const override;
  TForum* Container(int kind, TFieldError* error) override;
  const TItemList& Items(int kind) override;
  TMail* Item(int kind, TFieldError* error) override;
  void SelectContainer(int kind, int position) override;
  void SelectItem(int kind, int position) override;
  void Deselect() override { selections_.pop_back(); }
  std::string BackPage() const override;
  bool ContainerPageName(int kind, int position, std::string* fileName,
                         TFieldError* error) override;
  bool ItemPageName(int kind, int position, std::string* fileName, TFieldError* error) override;
  bool RequestContainerPage(int kind, std::string_view templateName, std::string* fileName,
                            TFieldError* error) override;
  bool RequestItemPage(int kind, std::string_view templateName, std::string* fileName,
                       TFieldError* error) override;
  std::optional<TSubTemplate> SubTemplate(const std::string& fileName) override;
  bool SiteHolds(const std::string& fileName) override;
  void NotePageShowsTime() override { pageShowsTime_ = true; }

  // --- TSectionObjects ---------------------------------------------------------------------------
  std::size_t Begin(int kind, TFieldLevel level) override;
  bool Select(int kind, TFieldLevel level, std::size_t index) override;
  void End(int kind, TFieldLevel level) override;

 private:
  // A board file, as one of the ordered containers of a kind.
  struct TListed {
    TBoardKind board;
    std::string name;
  };
  struct TContainers {
    std::vector<TListed> ordered;
    std::unordered_map<std::string, int> positions;  // by name in lower case
  };

  // What is current of one kind. The members are let go of in reverse: the item before its
  // container.
  struct TSelected {
    int kind = kNoKind;
    int container = -1;
    TBoardCache::THandle file;
    std::shared_ptr<const TItemList> items;
    int item = -1;
    std::shared_ptr<TMail> mail;
  };

  // The innermost selection of a kind, which hides those below it.
  TSelected* Innermost(int kind);
  const TSelected* Innermost(int kind) const;
  const TContainers& Containers(int kind);
  const TListed& Listed(int kind, int position);
  TBoardCache::THandle OpenContainer(int kind, int position, TFieldError* error);
  std::shared_ptr<TMail> OpenItem(const TSelected& selected, TForum& container, TFieldError* error);
  std::optional<int> FindTemplate(const std::string& fileName, TFieldError* error);
  int TemplateOfPage() const { return pages_.At(page_).templateNumber; }
  TPage LinkedFromHere(int templateNumber) const;
  bool NameContainerPage(int kind, int templateNumber, std::string* fileName, TFieldError* error);
  bool NameItemPage(int kind, int templateNumber, std::string* fileName, TFieldError* error);
  TFieldError CannotOpenItem(const TSelected& selected, DWORD index);
  bool Report(const TFieldError& error);

  const TSetup& setup_;
  const std::atomic<int>& goOn_;
  std::string templateDirectory_;
  std::string siteDirectory_;
  bool decodesText_;
  bool safeHtml_ = setup_.Number("Safe HTML") != 0;
  std::optional<TTime> settingsTime_;
  TBoardCache cache_;
  std::map<int, TContainers> containers_;  // by kind
  // Of the containers that were asked for last.
  std::map<std::pair<int, int>, std::shared_ptr<const TItemList>> itemLists_;
  std::vector<TSelected> selections_;
  TTemplates templates_;
  TPageQueue pages_;
  std::size_t page_ = 0;
  TPageWriter* writer_ = nullptr;
  bool pageShowsTime_ = false;
  bool dataFileFailed_ = false;
  std::set<std::string> reported_;  // what walks could not open is told once a run
};

}  // namespace brevant
