// Follows the links of a page to files beside its template.
//
// Values may come out of mail: what a visitor wrote never leads out of the template directory, and
// no link whatever leads to the board's own files.
#include "shared/link_follower.h"

#include "frame/reporting.h"
#include "shared/page_names.h"
#include "shared/site_paths.h"
#include "store/ascii.h"
#include "text/filters.h"

#include <algorithm>
#include <array>

namespace brevant {
namespace {

constexpr std::size_t kLongestValue = 1024;
constexpr std::string_view kFileScheme = "file:///";
// Data files, the tables of what the server holds, and the journals of both.
constexpr std::array<std::string_view, 6> kPrivateExtensions = {".mwd", ".mwe", ".mwf",
                                                                ".mwg", ".fat", ".jnl"};

// "file:///C:/x" names a drive; on a system without drives the last slash belongs to the path.
std::string LocalPath(std::string_view value) {
  value.remove_prefix(kFileScheme.size());
  const bool absolute = value.find(':') == 1 || (!value.empty() && IsSeparator(value[0]));
  return (absolute ? "" : "/") + std::string(value);
}

}  // namespace

TLinkFollower::TLinkFollower(TSettings settings, TPageStore& store, TLinkedPages& pages)
    : settings_(std::move(settings)),
      store_(store),
      pages_(pages),
      siteRoot_(RootOf(store.Directory())),
      templateRoot_(RootOf(settings_.templateDirectory)) {}

bool TLinkFollower::Follow(TPageWriter& page, const std::string& baseDirectory,
                           const std::atomic<int>& goOn) {
  allWritten_ = true;
  for (const std::string_view name : kLinkAttributes) {
    TAttribute link;
    for (bool found = page.FindAttribute(name, &link); found && goOn != 0;
         found = page.FindAttribute(name, &link, link.item, link.end)) {
      const std::string path = TargetOf(link, baseDirectory);
      if (path.empty()) continue;
      const std::string target = FollowTarget(path, baseDirectory);
      if (!target.empty() && target != link.value) page.SetAttributeValue(&link, target);
    }
  }
  return allWritten_;
}

std::string TLinkFollower::TargetOf(const TAttribute& link,
                                    const std::string& baseDirectory) const {
  const std::string_view value = link.value;
  if (value.empty() || value.size() > kLongestValue || value[0] == '#' || IsSeparator(value[0]) ||
      value.find_first_of("*?") != std::string_view::npos) {
    return {};
  }
  const bool isFile = EqualsIgnoreCase(value.substr(0, kFileScheme.size()), kFileScheme);
  if (!isFile && value.find(':') != std::string_view::npos) return {};
  if (isFile && link.fromField) return {};
  std::string path = FullPath(isFile ? LocalPath(value) : baseDirectory + std::string(value));
  if (link.fromField && !IsBelow(path, templateRoot_)) return {};
  return path;
}

const TLinkFollower::TListing* TLinkFollower::ListingOf(const std::string& directory) {
  const auto known = listings_.find(directory);
  if (known != listings_.end()) return &known->second;
  TListing listing;
  ForEachFile(directory + "*",
              [&](const TFileFacts& facts) { listing.files.insert_or_assign(facts.name, facts); });
  // Directories without files are not kept: mail may name any number of them.
  if (listing.files.empty()) return nullptr;
  TListing& kept = listings_.insert_or_assign(directory, std::move(listing)).first->second;
  for (const auto& [name, facts] : kept.files) kept.lowered.try_emplace(LowerCased(name), &facts);
  return &kept;
}

bool TLinkFollower::FindTarget(const std::string& path, TFileFacts* facts) {
  // The site changes while pages are made, what they are made from does not.
  if (IsBelow(path, siteRoot_)) return FindFile(path, facts);
  const std::size_t name = path.find_last_of("/\\") + 1;
  const TListing* listing = ListingOf(path.substr(0, name));
  if (listing == nullptr) return false;
  const auto exact = listing->files.find(path.substr(name));
  if (exact != listing->files.end()) {
    *facts = exact->second;
    return true;
  }
  const auto lowered = listing->lowered.find(LowerCased(path.substr(name)));
  if (lowered == listing->lowered.end()) return false;
  *facts = *lowered->second;
  return true;
}

bool TLinkFollower::IsPrivate(const std::string& fileName) const {
  if (IsUnfinishedName(fileName)) return true;
  const std::string extension =
      LowerCased(fileName.substr(std::min(fileName.rfind('.'), fileName.size())));
  return std::find(kPrivateExtensions.begin(), kPrivateExtensions.end(), extension) !=
             kPrivateExtensions.end() ||
         std::any_of(settings_.privateFiles.begin(), settings_.privateFiles.end(),
                     [&](const std::string& name) { return EqualsIgnoreCase(name, fileName); });
}

std::string TLinkFollower::FollowTarget(const std::string& path, const std::string& baseDirectory) {
  TFileFacts file;
  if (!FindTarget(path, &file)) return {};
  std::string target;
  if (IsBelow(path, siteRoot_)) {
    target = path.substr(siteRoot_.size());
    std::replace(target.begin(), target.end(), '\\', '/');
  } else if (IsPrivate(file.name)) {
    return {};
  } else {
    target = file.name;
    if (IsPageFile(file.name)) {
      const std::string directory = path.substr(0, path.find_last_of("/\\") + 1);
      pages_.RequestLinkedPage(directory + file.name, file, baseDirectory);
    } else {
      CopyIntoSite(path, file);
    }
  }
  UrlEncode(target);
  return target;
}

void TLinkFollower::CopyIntoSite(const std::string& path, const TFileFacts& source) {
  std::vector<std::string>& sources = copies_[LowerCased(source.name)];
  for (const std::string& known : sources) {
    if (EqualsIgnoreCase(known, path)) return;
  }
  if (!sources.empty()) {
    DisplayHistory("[%s] and [%s] have one name in the site", sources.back().c_str(), path.c_str());
  }
  sources.push_back(path);
  TFileFacts copy;
  if (FindFile(store_.Directory() + source.name, &copy) && copy.written >= source.written) return;
  switch (store_.Copy(path, source.name)) {
    case TPageStore::TCopied::kDone:
      break;
    case TPageStore::TCopied::kNotReadable:
      DisplayHistory("Cannot open %s", path.c_str());
      break;
    case TPageStore::TCopied::kNotWritable:
      DisplayHistory("Cannot save %s", (store_.Directory() + source.name).c_str());
      allWritten_ = false;
      break;
  }
}

}  // namespace brevant
