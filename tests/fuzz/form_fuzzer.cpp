// Forms that arrive by mail, and subjects that submit links.
#include "fuzzed_input.h"
#include "shared/form_data.h"

namespace {

void Check(std::vector<brevant::TFormField> fields, const std::string& label) {
  test::Require(fields.size() <= brevant::kMostFormFields, "bounded count of fields");
  brevant::DecodeForm(fields, label);
  for (const brevant::TFormField& field : fields) {
    if (brevant::FormMaySet(field.name)) {
      test::Require(!field.name.empty() && field.name.find('\n') == std::string::npos,
                    "a name that a form may set is a name");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::string label = input.Part();
  const std::string text = input.Rest();
  Check(brevant::ParseUrlEncoded(text), label);
  Check(brevant::ParsePlainForm(text), label);
  return 0;
}
