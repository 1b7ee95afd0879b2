// Reads the current message of the mailbox into one item of the board.
#pragma once

#include "shared/attachment_store.h"
#include "shared/form_data.h"
#include "shared/message_text.h"

#include <brevant/board.h>
#include <brevant/net.h>

#include <atomic>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brevant {

// What a property's record holds of a UTF-8 value, cut at a whole character.
std::string FitProperty(const std::string& value, std::string_view key);

enum class TReadResult {
  kRead,
  kRefused,     // the server does not give the message out; the connection stands
  kBroken,      // the connection failed, or the task was aborted, before the message's end
  kUnwritable,  // the message was read, but its text or a file of it could not be written whole
};

class TMessageReader {
 public:
  // localDirectory: where attachments go, with its final separator. The flag is the task's. With
  // decodeText header texts are filed as UTF-8.
  TMessageReader(TMIMEEnabledPOP3& client, std::string localDirectory,
                 const std::atomic<int>& continueFlag, bool decodeText = false);
  // Removes the files that nobody took: their message was not filed.
  ~TMessageReader() { RemoveFiles(); }
  TMessageReader(const TMessageReader&) = delete;
  TMessageReader& operator=(const TMessageReader&) = delete;

  // Has files be kept under names by which neither servers nor browsers run them ("Safe HTML").
  void KeepFilesHarmless(bool on) { harmlessFiles_ = on; }

  // Opens the client's current message and reads it to its end into mail, an open temporary item.
  // Attachments are kept only when allowed. Unless the result is kRead, no file stays behind.
  TReadResult Read(TMail& mail, bool attachmentsAllowed);
  // Opens the client's current message, reads it to its end and gives the fields of every form in
  // it, in their order: of form parts and files, and of text that is a form's (of HTML where
  // plain text has no field). With decodeText they are UTF-8.
  TReadResult ReadForm(std::vector<TFormField>& fields);

  // The address that the last message came from, whole: an item's record may hold less of it.
  const std::string& SenderAddress() const { return senderAddress_; }
  // Hands over the files that the last message left in the local directory, by their paths: they
  // stay now.
  std::vector<std::string> TakeFiles() { return std::exchange(files_, {}); }
  // Removes those that were not taken: the message is not going to be filed.
  void RemoveFiles();

 private:
  enum class TPartKind { kSkipped, kHtml, kPlain, kForm, kFile };
  // A form that stands in the text of a mail.
  struct TTypedForm {
    std::string text;
    std::string charset;
  };

  TReadResult OpenMessage();
  template <typename TTake>
  TReadResult WalkParts(TTake&& take);
  void CopyHeaders(TMail& mail);
  TPartKind PartKind();
  std::string_view ImageType();
  void ReadPart(TMail& mail, TMessageText& text, bool attachmentsAllowed);
  void ReadTextPart(TMessageText& text, bool html);
  void ReceiveUpTo(std::size_t limit, std::string& text);
  void ReadFormPart();
  void ReadTypedPart(TTypedForm& form);
  std::vector<TFormField> TypedFields(const TTypedForm& form) const;
  static TTypedForm HtmlForm(const TTypedForm& html, bool decodeText);
  void ReadFilePart(TMail& mail);
  bool ReceiveFile(TNewFile& file);
  bool ReceiveImage(TNewFile& file, std::string_view extension);
  bool RecordAttachment(TMail& mail, const std::string& storedName, const std::string& shownName);
  std::vector<TFormField> FormFields() const;
  void ApplyForm(TMail& mail, TMessageText& text);
  std::string PartFileName() const;
  template <typename TSink>
  bool ReceivePart(TSink&& sink);
  bool SetText(TMail& mail, const char* key, const std::string& value);
  bool MayGoOn() const;

  TMIMEEnabledPOP3& client_;
  std::string localDirectory_;
  const std::atomic<int>& continueFlag_;
  bool decodeText_;
  bool harmlessFiles_ = false;
  bool written_ = true;  // everything so far could be written
  std::string buffer_;
  std::string senderAddress_;
  std::string form_;
  std::string formCharset_;
  std::vector<std::string> files_;
  std::vector<TInlineImage> images_;
};

}  // namespace brevant
