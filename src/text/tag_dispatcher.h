// Finds the page field of a template tag and has it write, once or, through a section, for every
// object.
#pragma once

#include "text/page_writer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant {

// The pieces of a tag's text; views into it.
struct TTagParts {
  static constexpr std::size_t kMostTexts = 16;

  std::string_view name;
  std::vector<std::string_view> qualifiers;  // at most 16, and as many arguments
  std::vector<std::string_view> arguments;
};

// Splits "Next.FORUM_NAME(a, b)". A parenthesis with nothing in it is part of the name.
TTagParts ParseTag(std::string_view tag);

// The text that stands for all tags that ask for the same: "*.FORUM_NAME(a,b)".
std::string NormalForm(const TTagParts& parts);

class TFieldDispatcher : public TTagDispatcher {
 public:
  static constexpr std::size_t kLongestTag = 1024;
  // Told the message of every failure that is written into a page.
  using TReporter = std::function<void(const char* message)>;

  // The objects are not owned; null when there are none.
  explicit TFieldDispatcher(TSectionObjects* objects = nullptr, TReporter reporter = {});

  // Of fields with one name the first one added is found.
  void AddField(std::unique_ptr<TPageField> field);
  TPageField* FindField(std::string_view name) const;

  void Dispatch(TPageWriter& page, std::string_view tag) override;
  void ExpandRequest(TPageWriter& page, const TSectionRequest& request) override;
  TSectionObjects* SectionObjects() override { return objects_; }
  void SetLastError(std::string_view message) override { lastError_ = message; }
  const std::string& LastError() const { return lastError_; }

 private:
  TSelection Apply(TPageWriter& page, TPageField& field,
                   std::span<const std::string_view> qualifiers, TFieldArguments arguments);
  void WriteError(TPageWriter& page);

  TSectionObjects* objects_;
  TReporter reporter_;
  std::vector<std::unique_ptr<TPageField>> fields_;
  std::unordered_map<std::string_view, TPageField*> fieldsByName_;
  std::string lastError_;
};

}  // namespace brevant
