// Internet protocols: the protocol base class and the mail clients.
//
// Every operation that waits for the network ends in failure when no answer comes in time (60
// seconds, see SetTimeout), when Interrupt is called, or when the continue flag is clear. Nothing
// throws. A client is used by one thread; Interrupt, and clearing the continue flag, are for any.
#pragma once

#include <brevant/store.h>

#include <atomic>
#include <cstdarg>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class TConnection;

// A parsed URL as TProtocol::OpenURL consumes it; the caller owns the texts.
struct TURL {
  const char* scheme = nullptr;    // not looked at
  const char* account = nullptr;   // null: no login
  const char* password = nullptr;  // may be null
  const char* host = nullptr;
  const char* path = nullptr;
  WORD port = 0;  // 0: the protocol's default
};

// What a client logs in with; a null account means that no login is made. The texts are not owned.
struct TSecurityInfo {
  char* account = nullptr;
  char* password = nullptr;
};

// Credentials that own copies of both texts; null stays null.
class BREVANT_API TSecurityInfos : public TSecurityInfo {
 public:
  TSecurityInfos(const char* accountText, const char* passwordText);
  ~TSecurityInfos();
  TSecurityInfos(const TSecurityInfos&) = delete;
  TSecurityInfos& operator=(const TSecurityInfos&) = delete;

 private:
  std::string accountCopy_;
  std::string passwordCopy_;
};

// Status bits of every client.
enum TProtocolStatus : DWORD {
  kStatusResourceOpen = 1,  // a message or file is open
  kStatusConnected = 8,     // connected to the server; a failed transfer clears both
  // Set by the caller, before Connect: the protocol as today's RFCs have it.
  kStatusStandardMode = 256,
};

// The port argument of Connect that stands for the protocol's own port.
inline constexpr WORD kDefaultProtocolPort = 0xFFFF;

// How a resource is opened.
enum TOpenMode : int { kOpenForReading = 1, kOpenForWriting = 2 };

// The base of the clients. Operations give 1 for success and 0 for failure, transfers a byte count.
class BREVANT_API TProtocol {
 public:
  using HistoryHook = void (*)(const char* format, va_list arguments);

  TProtocol();
  TProtocol(const TProtocol&) = delete;
  TProtocol& operator=(const TProtocol&) = delete;

  // Closes a connection without further exchange.
  virtual ~TProtocol();
  // Connects to host (a name or a dotted IPv4 address); an existing connection is disconnected
  // first. port 65535 is the default port, 0 is port 0. The base ignores the credentials, the
  // clients log in with them. After a failure the connection stays until Disconnect.
  virtual int Connect(const char* host, const TSecurityInfos& security, WORD port);
  // Closes the connection, if any, and clears the status bits 1 and 8. The base gives 1.
  virtual int Disconnect();
  // Opens a resource by name in a TOpenMode. The base gives 0, and its two variants ignore the
  // time.
  virtual int OpenResource(const char* name, int mode);
  virtual int OpenResourceIfNewer(const char* name, int mode, const TTime& time);
  virtual int OpenResourceIfOlder(const char* name, int mode, const TTime& time);
  // Clears the size and the transferred count, connects with the URL's account and password and
  // opens its path.
  virtual int OpenURL(const TURL& url, int mode);
  virtual int OpenURLIfNewer(const TURL& url, int mode, const TTime& time);
  virtual int OpenURLIfOlder(const TURL& url, int mode, const TTime& time);
  // Ends the open resource. The base gives 1.
  virtual int Close();
  // Opens the current resource of a walk. The base gives 0.
  virtual int OpenCurrent(int mode);
  // Copies the open resource into a local file, which must exist and is overwritten from its start
  // without being truncated. 0 when it cannot be opened, else 1, even when the copy stopped early.
  virtual int Get(const char* localFile);
  // Copies an existing local file into the open resource; results as Get.
  virtual int Put(const char* localFile);
  // Receives at most size bytes, sends size bytes. The count, which is added to the transferred
  // count; a result below 1 (0: the peer has closed) clears the status bits 1 and 8.
  virtual int Read(char* buffer, int size);
  virtual int Write(const char* buffer, int size);
  // Ends the wait in progress; gives 1. May be called from any thread while the object exists.
  virtual int Interrupt();
  // A walk over the server's resources. The base gives 0.
  virtual int GetFirst();
  virtual int GetNext();
  // The expected size of the open resource, what was transferred of it, and the difference, which
  // wraps when more came than was expected. Bytes.
  virtual DWORD GetSize();
  virtual void SetSize(DWORD size);
  virtual DWORD GetTransferred();
  virtual DWORD GetRemaining();
  // The time of the open resource; at first the local time when the object was made.
  virtual const TTime& ResourceTime();
  // A description of the open resource, the protocol's name unless a client knows better. Valid
  // until the next operation.
  virtual const char* GetDescription();
  virtual const char* ProtocolName() = 0;
  virtual WORD DefaultPort() = 0;

  // The status bits; bits that the client does not know are left alone.
  DWORD& Status() { return status_; }
  // Hands the format and its arguments to the history hook, if there is one.
  void DisplayHistory(const char* format, ...) BREVANT_PRINTF(2, 3);
  // The task's continue flag, or null: while it is clear, waits end at once with failure. Not
  // owned.
  void SetContinueFlag(const std::atomic<int>* flag);
  // The time-out in milliseconds (60,000 at first) of the connection and of those that Connect
  // makes. The deadline that it leads to is shared by the whole process and is only ever raised.
  void SetTimeout(DWORD milliseconds);

  // Where the clients report the server's refusals; null for nowhere.
  static HistoryHook myHistoryFunction;

 protected:
  // Whether the continue flag is clear.
  bool Stopped() const { return continueFlag_ != nullptr && continueFlag_->load() == 0; }
  // Notes that the connection is of no use any more.
  void TransferFailed() { status_ &= ~(DWORD{kStatusResourceOpen} | kStatusConnected); }
  // Whether the continue flag is clear; the transfer has then failed.
  bool GaveUp() {
    if (!Stopped()) return false;
    TransferFailed();
    return true;
  }
  // Whether the text holds neither CR nor LF.
  static bool IsOneLine(const char* text);
  // Sends "command argument" and CR LF as one piece; the argument may be null. The count sent; 0,
  // with nothing sent, when a text holds a CR or LF; negative when the connection failed.
  int SendCommandLine(const char* command, const char* argument);
  // What a reply of standard mode may hold at most, in bytes.
  static constexpr int kLongestReply = 65536;
  // Reads one line of a reply to its end, however long, lest its rest become the reply to the next
  // command, and keeps what fits of it, terminated and without its line end. *budget, at first
  // kLongestReply, is what the reply may still take. False when the line was cut off or exceeds
  // that; the transfer has then failed.
  bool ReceiveReplyLine(char* buffer, int size, int* budget);

  std::unique_ptr<TConnection> connection_;
  DWORD status_ = 0;
  DWORD size_ = 0;
  DWORD transferred_ = 0;
  LONG lastReply_ = 0;
  TTime resourceTime_;
  const std::atomic<int>* continueFlag_ = nullptr;
  DWORD timeout_ = 60000;

 private:
  using Opener = int (TProtocol::*)(const char*, int, const TTime&);
  int OpenUrlWith(const TURL& url, int mode, const TTime& time, Opener open);
  int OpenIgnoringTime(const char* name, int mode, const TTime& time);

  std::atomic<bool> hasConnection_{false};  // what Interrupt may look at from another thread
};

// Reads a mailbox on a POP3 server: logs in, walks the messages by their headers, opens one to read
// its text line by line, deletes it. A message that was opened must be read to its end, or dropped
// with FinishMessage, before the next command.
class BREVANT_API TPOP3 : public TProtocol {
 public:
  // Room that GetObjectInfo needs for a field's name.
  static constexpr int kNameSize = 48;

  TPOP3();
  ~TPOP3() override;
  // Connects, reads the greeting and logs in.
  int Connect(const char* host, const TSecurityInfos& security, WORD port) override;
  // Sends "QUIT", which makes the deletions final, without waiting for its reply, and closes: what
  // the server still sends is dropped for 50 ms at most. Works after an abort, too.
  int Disconnect() override;
  // Opens the message whose number is given as text; mode must be 1. The header texts, the resource
  // time and the status bit 1 are set, and Read gives the body.
  int OpenResource(const char* name, int mode) override;
  // Gives 1.
  int Close() override;
  // The same for the current message.
  int OpenCurrent(int mode) override;
  // The next line of the open message with its line end, terminated by a zero byte; a line of size
  // - 1 characters or more loses the character that follows those stored (not in standard mode,
  // where the rest comes with the next call). The length; 0 at the end of the message, from then on
  // at once, and when the read failed, with the status bits 1 and 8 clear, as it does beyond 1 GiB
  // of one message. Without standard mode
  // the message ends at a line that begins with "." after an empty line. When nothing follows a
  // line that is a single "." in time, 0 is given as well, and the status bits stay.
  int Read(char* buffer, int size) override;
  // Makes message 1, the next one, current and fetches its header.
  int GetFirst() override;
  int GetNext() override;
  // The content type of the message or the empty text.
  const char* GetDescription() override;
  const char* ProtocolName() override;
  WORD DefaultPort() override;
  // Stores a header field in the text of that name or, "Date", in the resource time; names are
  // compared ignoring case. 1 when the field is known.
  virtual int ProcessObjectInfo(char* name, char* value);

  // "USER" and "PASS", then the message count ("STAT") and the number of the message read last
  // ("LAST"), which the server may refuse. 1 when the credentials were accepted.
  int Login(const TSecurityInfo& security);
  // Makes the message after the one read last current and fetches its header.
  int GetFirstNew();
  // Fetches the header of a message without making it current. A refusal is reported only for a
  // number within the message count.
  int GetInfo(LONG number);
  // Whether the message has exactly this Message-Id; replaces the header texts.
  int VerifyMessageIndex(LONG number, const char* identifier);
  // Marks the current message as deleted.
  int DeleteCurrent();
  // The same for any message; and takes all marks of the session back.
  int DeleteByNumber(LONG number);
  int ResetMarks();
  // Drops what is unread of the open message; 1, or 0 when that failed.
  int FinishMessage();
  // Sends a command; null for no argument. The count of bytes sent; 0 and nothing sent when a text
  // holds a CR or LF; negative when the connection failed.
  int SendCommand(const char* command, const char* argument);
  // Reads a reply; buffer (may be null; size with the terminator) gets the text after the first
  // space of a positive one. With report, the text of a refusal goes to the history as "%s (POP3)".
  // 1 for a positive reply, 0 for any other and when none came.
  int GetResponse(char* buffer, int size, int report);
  // Reads the next header field: name (kNameSize bytes; empty when the field's name is longer) and
  // value (size bytes, cut). 0 at the end of the header and when the read failed.
  int GetObjectInfo(char* name, char* value, int size);
  // Frees the eight header texts.
  void ClearInfo();

  // The header texts of the current message; null where the message has none.
  const char* From() const { return Text(from_); }
  const char* To() const { return Text(to_); }
  const char* ReplyTo() const { return Text(replyTo_); }
  const char* Cc() const { return Text(cc_); }
  const char* Subject() const { return Text(subject_); }
  const char* ContentType() const { return Text(contentType_); }
  const char* MessageId() const { return Text(messageId_); }
  const char* Bbs() const { return Text(bbs_); }
  LONG CurrentMessage() const { return current_; }
  LONG LastRead() const { return lastRead_; }
  LONG MessageCount() const { return count_; }
  // Whether the open message was read to its end.
  bool AtMessageEnd() const { return atEnd_; }

 protected:
  using OwnedText = std::optional<std::string>;
  static const char* Text(const OwnedText& text) { return text ? text->c_str() : nullptr; }

  bool StandardMode() const { return (status_ & kStatusStandardMode) != 0; }
  // Whether what Read gives next begins a line.
  bool AtLineStart() const { return atLineStart_; }
  // A new header begins: its size is counted from here.
  void StartHeader() { headerBytes_ = 0; }
  // Opens the message whose number is given as text.
  int Retrieve(const char* number);

  OwnedText from_;
  OwnedText to_;
  OwnedText replyTo_;
  OwnedText cc_;
  OwnedText subject_;
  OwnedText contentType_;
  OwnedText messageId_;
  OwnedText bbs_;
  LONG current_ = 0;
  LONG lastRead_ = 0;
  LONG count_ = 0;

 private:
  enum class HeaderEnd { kField, kBlankLine, kMessageEnd, kFailed };

  int ReceiveText(char* buffer, int size, bool keepTerminator);
  void ReadFailed();
  int NothingOpened();
  int ReadPlain(char* buffer, int size);
  int ReadStandard(char* buffer, int size);
  bool CountHeaderBytes(int count);
  HeaderEnd ReadFieldPlain(char* name, char* value, int size);
  HeaderEnd ReadFieldStandard(char* name, char* value, int size);
  HeaderEnd ReadHeaderLine(std::string& line);
  HeaderEnd ReadHeader();
  int SkipReply();
  int SendNumbered(const char* command, LONG number);

  bool atEnd_ = false;
  bool atLineStart_ = true;
  bool afterDot_ = false;  // the line read last was a single "."
  HeaderEnd headerEnd_ = HeaderEnd::kField;
  DWORD headerBytes_ = 0;
  DWORD messageBytes_ = 0;  // read of the open message
};

// Adds the walk through the MIME parts of the open message. A message that is not multipart has one
// part, its body. The order of calls: OpenCurrent, then again and again OpenPart, IsContent, and
// Read until 0 or SkipCurrentPart, until OpenPart gives 0.
class BREVANT_API TMIMEEnabledPOP3 : public TPOP3 {
 public:
  enum TTransferEncoding : DWORD { kNone, k7Bit, k8Bit, kBase64, kBinary, kQuotedPrintable };

  TMIMEEnabledPOP3();
  ~TMIMEEnabledPOP3() override;
  int OpenResource(const char* name, int mode) override;
  int OpenCurrent(int mode) override;
  // Decoded bytes of the current part, a line at most; 0 at its end. Without standard mode a line
  // that decodes to nothing gives 0, too, and a part without a content type is read as it stands,
  // over its end.
  int Read(char* buffer, int size) override;
  // Catches "Content-Type", "Content-Transfer-Encoding", "Content-Description",
  // "Content-Disposition" and "Content-ID"; the rest as TPOP3.
  int ProcessObjectInfo(char* name, char* value) override;

  // Finds the next part and reads its header; 0 when the message has no further part.
  int OpenPart();
  // Drops the rest of the current part; gives 1.
  int SkipCurrentPart();
  // Whether the current part is of this type ("text/html", "image"). Without standard mode the
  // header value need only contain it. A part that states no type is "text/plain".
  int IsContent(const char* type);
  // The decoders that Read chooses from. Outside standard mode ReadBase64 does not look at size:
  // the buffer must hold at least 63 bytes.
  int ReadQuotedPrintable(char* buffer, int size);
  int ReadBase64(char* buffer, int size);
  int Read8Bit(char* buffer, int size);
  // Whether the next line is a boundary of the multipart message; waits for as many bytes as it
  // looks at, or a whole line. Nothing is taken.
  int PeekAtBoundary();
  int IsStartBoundary(const char* line);
  int IsEndBoundary(const char* line);
  // Forgets the message's parts, the current part.
  void ClearInfo();
  void ClearPartInfo();

  // What is known of the current part; null where it does not say.
  const char* PartContentType() const { return Text(partContentType_); }
  const char* PartCharset() const { return Text(partCharset_); }
  // "cid:" and the identifier.
  const char* PartContentId() const { return Text(partContentId_); }
  const char* PartDescription() const { return Text(partDescription_); }
  // In standard mode also the name that the content type gives. Hostile: any bytes.
  const char* PartFileName() const { return Text(partFileName_); }
  // The number of parts opened in this message.
  DWORD PartCount() const { return partCount_; }
  DWORD PartEncoding() const { return partEncoding_; }

 private:
  int OpenPartStandard();
  int ReadPartHeader();
  int ProcessPartInfo(char* name, char* value);
  void ProcessContentType(const char* value);
  void ProcessDisposition(const char* value);
  void PushBoundary(OwnedText boundary);
  int PeekAtBoundaryStandard();
  // The index of the boundary that the line is, innermost first, or -1; *ends tells which kind.
  int FindBoundary(const std::string& line, bool* ends) const;
  int ReadDecoded(char* buffer, int size, DWORD encoding);
  bool DecodeLine(DWORD encoding);
  bool ReadWholeLine(DWORD encoding);
  void DecodeBase64Line();
  void FlushBase64();
  void StartDecoding();

  OwnedText partContentType_;
  OwnedText partCharset_;
  OwnedText partContentId_;
  OwnedText partDescription_;
  OwnedText partFileName_;
  std::vector<std::string> boundaries_;
  DWORD partCount_ = 0;
  DWORD partEncoding_ = 0;

  // Standard mode: the line being decoded and what is decoded and not read yet.
  bool fileNameFromDisposition_ = false;
  bool partEnded_ = false;
  std::string rawLine_;
  std::string decoded_;
  std::size_t decodedAt_ = 0;
  DWORD sextets_ = 0;  // of an incomplete base64 group
  int sextetCount_ = 0;
};
