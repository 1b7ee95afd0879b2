#include "shared/message_reader.h"

#include "platform/win32.h"
#include "shared/attachment_name.h"
#include "store/ascii.h"

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

}  // namespace

TMessageReader::TMessageReader(TMIMEEnabledPOP3& client, std::string localDirectory,
                               const std::atomic<int>& continueFlag)
    : client_(client), localDirectory_(std::move(localDirectory)), continueFlag_(continueFlag) {}

bool TMessageReader::MayGoOn() const {
  return continueFlag_ != 0 && (client_.Status() & kStatusConnected) != 0;
}

TReadResult TMessageReader::Read(TMail& mail, bool attachmentsAllowed) {
  written_ = true;
  buffer_.resize(kLineBuffer);
  form_.clear();
  formCharset_.clear();
  files_.clear();
  images_.clear();
  if (client_.OpenCurrent(1) == 0) return MayGoOn() ? TReadResult::kRefused : TReadResult::kBroken;
  CopyHeaders(mail);
  TMessageText text(mail);
  while (written_ && text.Good() && MayGoOn() && client_.OpenPart() != 0) {
    ReadPart(mail, text, attachmentsAllowed);
  }
  // A part may end before its message does; the next reply stands only behind the message's end.
  const bool whole = client_.FinishMessage() != 0 && MayGoOn();
  TReadResult result = whole ? TReadResult::kRead : TReadResult::kBroken;
  if (result == TReadResult::kRead) {
    ApplyForm(mail, text);
    if (!text.Finish(images_) || !written_) result = TReadResult::kUnwritable;
  }
  if (result != TReadResult::kRead) RemoveFiles();
  return result;
}

void TMessageReader::RemoveFiles() {
  for (const std::string& path : files_) DeleteFileA(path.c_str());
  files_.clear();
}

bool TMessageReader::SetText(TMail& mail, const char* key, const std::string& value) {
  if (mail.String(key, value.c_str()) == 1) return true;
  written_ = false;
  return false;
}

void TMessageReader::CopyHeaders(TMail& mail) {
  SetText(mail, "SUBJECT", Text(client_.Subject()));
  SetText(mail, "FROM", Text(client_.From()));
  SetText(mail, "TO", Text(client_.To()));
  SetText(mail, "E-Mail Address", Text(mail.String("From Email Address")));
  mail.SetTime(client_.ResourceTime());
}

TMessageReader::TPartKind TMessageReader::PartKind() {
  const auto is = [this](const char* type) { return client_.IsContent(type) != 0; };
  const std::string name = Text(client_.PartFileName());
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

void TMessageReader::ReadFormPart() {
  if (form_.empty()) formCharset_ = Text(client_.PartCharset());
  if (!form_.empty()) form_ += '&';
  ReceivePart([this](std::string_view piece) {
    form_ += piece.substr(0, kLargestForm - std::min(form_.size(), kLargestForm));
    return true;
  });
}

void TMessageReader::ReadFilePart(TMail& mail) {
  const std::string_view type = ImageType();
  const std::string contentId = Text(client_.PartContentId());
  std::string shownName = Text(client_.PartFileName());
  std::string safeName = SafeFileName(shownName);
  if (safeName.empty()) shownName = safeName = NamelessAttachment(type);
  if (IsForbiddenAttachment(safeName)) {
    client_.SkipCurrentPart();
    return;
  }
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
  if (mail.OpenList("ATTACHMENT", kAttachmentRecord) == 0 &&
      mail.CreateList("ATTACHMENT", kAttachmentRecord) == 0) {
    return false;
  }
  const int result = mail.WriteListItem(storedName.c_str(), shownName.c_str(), -1);
  mail.CloseList();
  return result == 1;
}

void TMessageReader::ApplyForm(TMail& mail, TMessageText& text) {
  if (form_.empty()) return;
  const bool noText = text.Empty();
  for (TFormField& field : ParseUrlEncoded(form_)) {
    if (noText && EqualsIgnoreCase(field.name, "Content")) {
      text.BeginPart(false, formCharset_.c_str());
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
