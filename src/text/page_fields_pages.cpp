// Page fields that write the file names of pages.
#include "text/page_field_functions.h"

#include <string>

namespace brevant {
namespace {

// Finds the entry that a reference field names: by its argument, else its row's own reference.
bool FindEntry(const TFieldCall& call, int* position, TFieldError* error) {
  const std::string_view reference =
      call.Argument(0).empty() ? std::string_view(call.row.key) : call.Argument(0);
  return FindReferenced(call.site, call.row.kind, call.row.level, reference, position, error);
}

}  // namespace

int ExpandBack(const TFieldCall& call) { return call.Write(call.site.BackPage()); }

int ExpandContainerFileName(const TFieldCall& call) {
  std::string name;
  TFieldError error;
  if (!call.site.RequestContainerPage(call.row.kind, call.Argument(0), &name, &error))
    return call.Fail(error);
  return call.Write(std::move(name));
}

int ExpandItemFileName(const TFieldCall& call) {
  std::string name;
  TFieldError error;
  const bool named =
      call.Argument(0).empty()
          ? call.site.ItemPageName(call.row.kind, call.site.CurrentItem(call.row.kind), &name,
                                   &error)
          : call.site.RequestItemPage(call.row.kind, call.Argument(0), &name, &error);
  if (!named) return call.Fail(error);
  return call.Write(std::move(name));
}

int ExpandContainerReference(const TFieldCall& call) {
  int position = -1;
  std::string name;
  TFieldError error;
  if (!FindEntry(call, &position, &error)) return call.Fail(error);
  if (position < 0) return 1;
  if (!call.site.ContainerPageName(call.row.kind, position, &name, &error)) return call.Fail(error);
  return call.Write(std::move(name));
}

int ExpandItemReference(const TFieldCall& call) {
  int position = -1;
  std::string name;
  TFieldError error;
  if (!FindEntry(call, &position, &error)) return call.Fail(error);
  if (position < 0) return 1;
  if (!call.site.ItemPageName(call.row.kind, position, &name, &error)) return call.Fail(error);
  return call.Write(std::move(name));
}

int ExpandOriginal(const TFieldCall& call) {
  std::string name;
  TFieldError error;
  if (!call.site.ItemPageName(call.row.kind, call.site.CurrentItem(call.row.kind), &name, &error)) {
    return call.Fail(error);
  }
  return call.site.SiteHolds(name) ? call.Write(std::move(name)) : 1;
}

}  // namespace brevant
