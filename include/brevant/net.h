// Internet protocols: the protocol base class and the mail clients.
#pragma once

#include <brevant/store.h>

#include <atomic>
#include <cstdarg>
#include <string>
#include <vector>

class TConnection;

// A parsed URL as TProtocol::OpenURL consumes it; the caller owns the texts.
struct TURL {
  const char* scheme = nullptr;
  const char* account = nullptr;
  const char* password = nullptr;
  const char* host = nullptr;
  const char* path = nullptr;
  WORD port = 0;  // 0: the protocol's default
};

// What a client logs in with; a null account means that no login is made.
struct TSecurityInfo {
  char* account = nullptr;
  char* password = nullptr;
};

// Credentials that own copies of both texts.
class BREVANT_API TSecurityInfos : public TSecurityInfo {
 public:
  TSecurityInfos(const char* accountText, const char* passwordText);
  ~TSecurityInfos();
  TSecurityInfos(const TSecurityInfos&) = delete;
  TSecurityInfos& operator=(const TSecurityInfos&) = delete;
};

// Status bits of every client.
enum TProtocolStatus : DWORD {
  kStatusResourceOpen = 1,
  kStatusConnected = 8,
  kStatusStandardMode =
      256,  // set by the task, before Connect: the protocol as today's RFCs have it
};

// The base of the clients. Operations give 1 for success and 0 for failure, transfers a byte count.
class BREVANT_API TProtocol {
 public:
  using HistoryHook = void (*)(const char* format, va_list arguments);

  TProtocol();
  TProtocol(const TProtocol&) = delete;
  TProtocol& operator=(const TProtocol&) = delete;

  virtual ~TProtocol();
  virtual int Connect(const char* host, const TSecurityInfos& security, WORD port);
  virtual int Disconnect();
  virtual int OpenResource(const char* name, int mode);
  virtual int OpenResourceIfNewer(const char* name, int mode, const TTime& time);
  virtual int OpenResourceIfOlder(const char* name, int mode, const TTime& time);
  virtual int OpenURL(const TURL& url, int mode);
  virtual int OpenURLIfNewer(const TURL& url, int mode, const TTime& time);
  virtual int OpenURLIfOlder(const TURL& url, int mode, const TTime& time);
  virtual int Close();
  virtual int OpenCurrent(int mode);
  virtual int Get(const char* localFile);
  virtual int Put(const char* localFile);
  virtual int Read(char* buffer, int size);
  virtual int Write(const char* buffer, int size);
  virtual int Interrupt();
  virtual int GetFirst();
  virtual int GetNext();
  virtual DWORD GetSize();
  virtual void SetSize(DWORD size);
  virtual DWORD GetTransferred();
  virtual DWORD GetRemaining();
  virtual const TTime& ResourceTime();
  virtual const char* GetDescription();
  virtual const char* ProtocolName() = 0;
  virtual WORD DefaultPort() = 0;

  DWORD& Status() { return status_; }
  void DisplayHistory(const char* format, ...) BREVANT_PRINTF(2, 3);
  // The task's continue flag, or null: while it is clear, waits end at once with failure. Not
  // owned.
  void SetContinueFlag(const std::atomic<int>* flag);
  // The time-out in milliseconds of the connections that Connect makes from now on (60,000 at
  // first).
  void SetTimeout(DWORD milliseconds);

  static HistoryHook myHistoryFunction;

 protected:
  TConnection* connection_ = nullptr;
  DWORD status_ = 0;
  DWORD size_ = 0;
  DWORD transferred_ = 0;
  LONG lastReply_ = 0;
  TTime resourceTime_;
  const std::atomic<int>* continueFlag_ = nullptr;
  DWORD timeout_ = 60000;
};

// Reads a mailbox on a POP3 server: logs in, walks the messages by their headers, opens one to read
// its text line by line, deletes it.
class BREVANT_API TPOP3 : public TProtocol {
 public:
  TPOP3();
  ~TPOP3() override;
  int Connect(const char* host, const TSecurityInfos& security, WORD port) override;
  int Disconnect() override;
  int OpenResource(const char* name, int mode) override;
  int Close() override;
  int OpenCurrent(int mode) override;
  int Read(char* buffer, int size) override;
  int GetFirst() override;
  int GetNext() override;
  const char* GetDescription() override;
  const char* ProtocolName() override;
  WORD DefaultPort() override;
  virtual int ProcessObjectInfo(char* name, char* value);

  int Login(const TSecurityInfo& security);
  int GetFirstNew();
  int GetInfo(LONG number);
  int VerifyMessageIndex(LONG number, const char* identifier);
  int DeleteCurrent();
  int SendCommand(const char* command, const char* argument);
  int GetResponse(char* buffer, int size, int report);
  int GetObjectInfo(char* name, char* value, int size);
  void ClearInfo();

  // The header texts of the current message; null where the message has none.
  const char* From() const { return from_; }
  const char* To() const { return to_; }
  const char* ReplyTo() const { return replyTo_; }
  const char* Cc() const { return cc_; }
  const char* Subject() const { return subject_; }
  const char* ContentType() const { return contentType_; }
  const char* MessageId() const { return messageId_; }
  const char* Bbs() const { return bbs_; }
  LONG CurrentMessage() const { return current_; }
  LONG LastRead() const { return lastRead_; }
  LONG MessageCount() const { return count_; }

 protected:
  char* from_ = nullptr;
  char* to_ = nullptr;
  char* replyTo_ = nullptr;
  char* cc_ = nullptr;
  char* subject_ = nullptr;
  char* contentType_ = nullptr;
  char* messageId_ = nullptr;
  char* bbs_ = nullptr;
  LONG current_ = 0;
  LONG lastRead_ = 0;
  LONG count_ = 0;
};

// Adds the walk through the MIME parts of the open message.
class BREVANT_API TMIMEEnabledPOP3 : public TPOP3 {
 public:
  enum TTransferEncoding : DWORD { kNone, k7Bit, k8Bit, kBase64, kBinary, kQuotedPrintable };

  TMIMEEnabledPOP3();
  ~TMIMEEnabledPOP3() override;
  int OpenResource(const char* name, int mode) override;
  int OpenCurrent(int mode) override;
  int Read(char* buffer, int size) override;
  int ProcessObjectInfo(char* name, char* value) override;

  int OpenPart();
  int SkipCurrentPart();
  int IsContent(const char* type);
  int ReadQuotedPrintable(char* buffer, int size);
  int ReadBase64(char* buffer, int size);
  int Read8Bit(char* buffer, int size);
  int PeekAtBoundary();
  int IsStartBoundary(const char* line);
  int IsEndBoundary(const char* line);
  void ClearInfo();
  void ClearPartInfo();

  // What is known of the current part; null where it does not say.
  const char* PartContentType() const { return partContentType_; }
  const char* PartCharset() const { return partCharset_; }
  const char* PartContentId() const { return partContentId_; }
  const char* PartDescription() const { return partDescription_; }
  const char* PartFileName() const { return partFileName_; }
  DWORD PartCount() const { return partCount_; }
  DWORD PartEncoding() const { return partEncoding_; }

 private:
  char* partContentType_ = nullptr;
  char* partCharset_ = nullptr;
  char* partContentId_ = nullptr;
  char* partDescription_ = nullptr;
  char* partFileName_ = nullptr;
  std::vector<std::string> boundaries_;
  DWORD partCount_ = 0;
  DWORD partEncoding_ = 0;
};
