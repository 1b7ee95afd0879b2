#include "shared/message_reader.h"

#include "board/access.h"
#include "platform/win32.h"
#include "shared/attachment_name.h"
#include "store/ascii.h"
#include "store/records.h"
#include "text/charset.h"
#include "text/encoded_words.h"
#include "text/plain_text.h"

#include <algorithm>

namespace brevant {

namespace {

// More than a longest line, since a line that fills the buffer loses a byte.
constexpr std::size_t kLineBuffer = 65536;
// A form beyond this is cut.
constexpr std::size_t kLargestForm = std::size_t{4} * 1024 * 1024;
constexpr int kAttachmentRecord = 128;
// The body of a web form as older browsers attach it.
constexpr std::string_view kFormFile = "POSTDATA.ATT";

std::string Text(const char* text) { return text != nullptr ? text : ""; }

// What a record of that size holds of a value beside its key.
std::string FitRecord(const std::string& value, std::string_view key, int recordSize) {
  const std::size_t taken = key.size() + 2;
  const auto size = static_cast<std::size_t>(recordSize);
  return std::string(CutAtCharacter(value, size - std::min(taken, size)));
}

}  // namespace

std::string FitProperty(const std::string& value, std::string_view key) {
  return FitRecord(value, key, kInfoRecordSize);
}

TMessageReader::TMessageReader(TMIMEEnabledPOP3& client, std::string localDirectory,
                               const std::atomic<int>& continueFlag, bool decodeText)
    : client_(client),
      localDirectory_(std::move(localDirectory)),
      continueFlag_(continueFlag),
      decodeText_(decodeText) {}

bool TMessageReader::MayGoOn() const {
  return continueFlag_ != 0 && (client_.Status() & kStatusConnected) != 0;
}

TReadResult TMessageReader::OpenMessage() {
  written_ = true;
  buffer_.resize(kLineBuffer);
  form_.clear();
  formCharset_.clear();
  files_.clear();
  images_.clear();
  if (client_.OpenCurrent(1) != 0) return TReadResult::kRead;
  return MayGoOn() ? TReadResult::kRefused : TReadResult::kBroken;
}

// Hands every part to take, as long as that gives true, and reads on to the message's end: the next
// reply stands only behind it.
template <typename TTake>
TReadResult TMessageReader::WalkParts(TTake&& take) {
  while (MayGoOn() && client_.OpenPart() != 0 && take()) {
  }
  return client_.FinishMessage() != 0 && MayGoOn() ? TReadResult::kRead : TReadResult::kBroken;
}

TReadResult TMessageReader::Read(TMail& mail, bool attachmentsAllowed) {
  TReadResult result = OpenMessage();
  if (result != TReadResult::kRead) return result;
  CopyHeaders(mail);
  TMessageText text(mail, decodeText_);
  result = WalkParts([&] {
    if (written_ && text.Good()) ReadPart(mail, text, attachmentsAllowed);
    return written_ && text.Good();
  });
  if (result == TReadResult::kRead) {
    ApplyForm(mail, text);
    if (!text.Finish(images_) || !written_) result = TReadResult::kUnwritable;
  }
  if (result != TReadResult::kRead) RemoveFiles();
  return result;
}

TReadResult TMessageReader::ReadForm(std::vector<TFormField>& fields) {
  fields.clear();
  TReadResult result = OpenMessage();
  if (result != TReadResult::kRead) return result;
  TTypedForm plain;
  TTypedForm html;
  result = WalkParts([&] {
    const TPartKind kind = PartKind();
    if (kind == TPartKind::kForm) {
      ReadFormPart();
    } else if (kind == TPartKind::kPlain || kind == TPartKind::kHtml) {
      ReadTypedPart(kind == TPartKind::kPlain ? plain : html);
    } else {
      client_.SkipCurrentPart();
    }
    return true;
  });
  if (result != TReadResult::kRead) return result;
  fields = FormFields();
  // Mail programs that send HTML send the same as plain text, some of them as an empty one.
  std::vector<TFormField> typed = TypedFields(plain);
  if (typed.empty()) typed = TypedFields(HtmlForm(html, decodeText_));
  fields.insert(fields.end(), typed.begin(), typed.end());
  return result;
}

void TMessageReader::ReadTypedPart(TTypedForm& form) {
  if (form.charset.empty()) form.charset = Text(client_.PartCharset());
  if (!form.text.empty()) form.text += '\n';
  ReceiveUpTo(kLargestForm, form.text);
}

std::vector<TFormField> TMessageReader::TypedFields(const TTypedForm& form) const {
  std::vector<TFormField> fields = ParsePlainForm(form.text);
  if (decodeText_) DecodeForm(fields, form.charset);
  return fields;
}

// The form as it reads in HTML.
TMessageReader::TTypedForm TMessageReader::HtmlForm(const TTypedForm& html, bool decodeText) {
  TPlainTextRules rules;
  rules.isForm = true;
  if (!decodeText) return {HtmlToPlainText(html.text, rules), html.charset};
  rules.isUtf8 = true;
  return {HtmlToPlainText(DecodeText(html.text, html.charset), rules), "utf-8"};
}

void TMessageReader::RemoveFiles() {
  for (const std::string& path : files_) DeleteFileA(path.c_str());
  files_.clear();
}

bool TMessageReader::SetText(TMail& mail, const char* key, const std::string& value) {
  const std::string fitting = decodeText_ ? FitProperty(value, key) : value;
  if (mail.String(key, fitting.c_str()) == 1) return true;
  written_ = false;
  return false;
}

void TMessageReader::CopyHeaders(TMail& mail) {
  const std::string from = Text(client_.From());
  // The address is that of the header as it came, whatever its decoded text looks like.
  mail.SetString("FROM", from.c_str());
  senderAddress_ = Text(mail.String("From Email Address"));
  if (decodeText_) senderAddress_ = DecodeText(senderAddress_, TCharset::kUnknown);
  const std::string subject = Text(client_.Subject());
  const std::string to = Text(client_.To());
  SetText(mail, "SUBJECT", decodeText_ ? DecodeHeader(subject) : subject);
  SetText(mail, "FROM", decodeText_ ? DecodeAddressHeader(from) : from);
  SetText(mail, "TO", decodeText_ ? DecodeAddressHeader(to) : to);
  SetText(mail, "E-Mail Address", senderAddress_);
  if (decodeText_) SetText(mail, "Header Charset", "utf-8");
  mail.SetTime(client_.ResourceTime());
}

// The name that the part gives itself.
std::string TMessageReader::PartFileName() const {
  const std::string name = Text(client_.PartFileName());
  return decodeText_ ? DecodeHeader(name) : name;
}

TMessageReader::TPartKind TMessageReader::PartKind() {
  const auto is = [this](const char* type) { return client_.IsContent(type) != 0; };
  const std::string name = PartFileName();
  const TPartKind file = EqualsIgnoreCase(name, kFormFile) ? TPartKind::kForm : TPartKind::kFile;
  if (is("image")) return TPartKind::kFile;
  // As mail is today, a named part is a file whatever its type.
  const bool standard = (client_.Status() & kStatusStandardMode) != 0;
  if (standard && !name.empty() && !is("multipart") && !is("application/x-www-form-urlencoded")) {
    return file;
  }
  if (is("text/html")) return TPartKind::kHtml;
  if (is("text/plain")) return TPartKind::kPlain;
  if (is("application/x-www-form-urlencoded")) return TPartKind::kForm;
  return is("application/octet-stream") ? file : TPartKind::kSkipped;
}

// Which of the image types with an extension of their own the part has; empty for any other part.
std::string_view TMessageReader::ImageType() {
  for (const char* type : {"image/gif", "image/jpeg", "image/png", "image/bmp"}) {
    if (client_.IsContent(type) != 0) return type;
  }
  return {};
}

void TMessageReader::ReadPart(TMail& mail, TMessageText& text, bool attachmentsAllowed) {
  const TPartKind kind = PartKind();
  if (kind == TPartKind::kHtml || kind == TPartKind::kPlain) {
    ReadTextPart(text, kind == TPartKind::kHtml);
  } else if (kind == TPartKind::kForm) {
    ReadFormPart();
  } else if (kind == TPartKind::kFile && attachmentsAllowed) {
    ReadFilePart(mail);
  } else {
    client_.SkipCurrentPart();
  }
}

// Hands the decoded part to sink piece by piece; false when sink gave up or the connection broke.
template <typename TSink>
bool TMessageReader::ReceivePart(TSink&& sink) {
  for (;;) {
    const int count = client_.Read(buffer_.data(), static_cast<int>(buffer_.size()));
    if (count <= 0) return MayGoOn();
    const std::size_t size = std::min(static_cast<std::size_t>(count), buffer_.size());
    if (!MayGoOn() || !sink(std::string_view(buffer_.data(), size))) return false;
  }
}

void TMessageReader::ReadTextPart(TMessageText& text, bool html) {
  text.BeginPart(html, client_.PartCharset());
  ReceivePart([&text](std::string_view piece) {
    text.Append(piece);
    return text.Good();
  });
  text.EndPart();
}

// Appends the decoded part to text, which takes no more than limit bytes.
void TMessageReader::ReceiveUpTo(std::size_t limit, std::string& text) {
  ReceivePart([&text, limit](std::string_view piece) {
    text += piece.substr(0, limit - std::min(text.size(), limit));
    return true;
  });
}

void TMessageReader::ReadFormPart() {
  if (form_.empty()) formCharset_ = Text(client_.PartCharset());
  if (!form_.empty()) form_ += '&';
  ReceiveUpTo(kLargestForm, form_);
}

void TMessageReader::ReadFilePart(TMail& mail) {
  const std::string_view type = ImageType();
  const std::string contentId = Text(client_.PartContentId());
  std::string shownName = PartFileName();
  std::string safeName = SafeFileName(shownName);
  if (safeName.empty()) shownName = safeName = NamelessAttachment(type);
  if (IsForbiddenAttachment(safeName)) {
    client_.SkipCurrentPart();
    return;
  }
  if (harmlessFiles_) safeName = HarmlessFileName(safeName);
  TNewFile file;
  std::string storedName;
  written_ = CreateAttachment(localDirectory_, safeName, file, storedName);
  if (!written_) return;
  const std::string_view extension = ImageExtension(type);
  if (!(extension.empty() ? ReceiveFile(file) : ReceiveImage(file, extension))) return;
  files_.push_back(file.Path());  // first, lest it stay behind when memory runs out
  written_ = file.Finish();
  if (!written_) return;
  written_ = MarkAttachment(file.Path()) &&
             RecordAttachment(mail, storedName, contentId.empty() ? shownName : contentId);
  if (IsImageName(storedName)) images_.push_back({storedName, shownName, contentId});
}

bool TMessageReader::ReceiveFile(TNewFile& file) {
  return ReceivePart([this, &file](std::string_view piece) {
    written_ = file.Write(piece);
    return written_;
  });
}

bool TMessageReader::ReceiveImage(TNewFile& file, std::string_view extension) {
  TScratchFile scratch;
  written_ = scratch.Create("temp" + std::string(extension));
  if (!written_) return false;
  const bool received = ReceivePart([this, &scratch](std::string_view piece) {
    written_ = scratch.Write(piece);
    return written_;
  });
  if (!received) return false;
  written_ = scratch.CopyTo(file);
  return written_;
}

bool TMessageReader::RecordAttachment(TMail& mail, const std::string& storedName,
                                      const std::string& shownName) {
  if (!OpenOrCreateList(mail, "ATTACHMENT", kAttachmentRecord)) return false;
  const std::string value =
      decodeText_ ? FitRecord(shownName, storedName, kAttachmentRecord) : shownName;
  const int result = mail.WriteListItem(storedName.c_str(), value.c_str(), -1);
  mail.CloseList();
  return result == 1;
}

std::vector<TFormField> TMessageReader::FormFields() const {
  std::vector<TFormField> fields = ParseUrlEncoded(form_);
  if (decodeText_) DecodeForm(fields, formCharset_);
  return fields;
}

void TMessageReader::ApplyForm(TMail& mail, TMessageText& text) {
  if (form_.empty()) return;
  const bool noText = text.Empty();
  const std::string charset = decodeText_ ? "utf-8" : formCharset_;
  for (TFormField& field : FormFields()) {
    if (noText && EqualsIgnoreCase(field.name, "Content")) {
      text.BeginPart(false, charset.c_str());
      text.Append(field.value);
      text.EndPart();
    } else if (FormMaySet(field.name)) {
      std::replace_if(
          field.value.begin(), field.value.end(),
          [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }, ' ');
      SetText(mail, field.name.c_str(), field.value);
    }
  }
}

}  // namespace brevant
