// Files on a server: the FTP client and its directory search.
//
// One file to the server: Connect, SetType("I"), OpenResource(path, 2), Write again and again,
// Close. One from the server: OpenResource(path, 1), Read until it gives 0 or less, Close. While
// the status bit 8 is set the control connection works; when it is not, every command fails at
// once, until the next Connect. Names go to the server byte by byte (in UTF-8, if that is what the
// caller has); one with a CR or LF in it is refused before anything is sent.
//
// What a server sends is never trusted: replies, listings and addresses are bounded and checked,
// and no local path is ever made from any of them.
#pragma once

#include <brevant/net.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sockaddr_in;

// An IPv4 endpoint, port and address in network order.
using TDestination = sockaddr_in;

// The status bits of TFTP beside those of every client (1, 8 and 256).
inline constexpr DWORD kStatusRetrieving = 2;   // opened for reading, or its time was looked at
inline constexpr DWORD kStatusMayTransfer = 4;  // a file was opened; clear when its time forbade it
inline constexpr DWORD kStatusDataStream = 16;  // goes with bit 1 when the data connection closes
// Set during OpenResourceIfNewer and OpenResourceIfOlder.
inline constexpr DWORD kStatusTimeChecked = 32;
inline constexpr DWORD kStatusListComplete = 64;  // the directory list is the current directory's
// Set and cleared by the caller, at any time: the server opens the port of a data connection and
// the client connects to it; without this bit it is the other way round.
inline constexpr DWORD kStatusPassive = 128;

// An entry of a directory.
struct TFindData {
  DWORD attributes = 0;     // 16 for a directory; else 0
  FILETIME creationTime{};  // all three times of an entry are the same, as the listing writes it
  FILETIME lastAccessTime{};
  FILETIME lastWriteTime{};
  DWORD sizeHigh = 0;
  DWORD sizeLow = 0;  // bytes
  // The name as the server spells it. Any bytes but control characters, "/" and "\"; never empty,
  // "." or "..".
  std::string name;
};

// Sends files to an FTP server and fetches them. Operations give 1 for success and 0 for failure
// unless they say otherwise. Replies that begin with "4" or "5" go to the history as "%s (FTP:%d)",
// the reply's text and its code. Code 421 (the server closes the connection), a reply that does not
// come in time and a connection that breaks clear the status bit 8.
//
// Standard mode (status bit 256, set before Connect): a reply of several lines ends at the line
// with its code and a blank (else at the first line whose fourth character is no "-"); the address
// in a 227 reply is found wherever it stands, and only its port is used, with the control
// connection's peer; a data connection that the server opens must come from that peer; Close tells
// whether the transfer succeeded.
class BREVANT_API TFTP : public TProtocol {
 public:
  TFTP();
  // Closes the connections without further exchange, and ends the searches that are left.
  ~TFTP() override;

  // Connects to host (a name or a dotted address; port 65535 stands for 21), reads the greeting and
  // logs on. An existing connection is disconnected first. When any of it fails LastReplyCode tells
  // the reply, 0 when there was none, and nothing stays connected.
  int Connect(const char* host, const TSecurityInfos& security, WORD port) override;
  // Sends "QUIT" without waiting for its reply and closes both connections. Gives 1.
  int Disconnect() override;
  // Opens a file for reading (mode 1: "RETR", status bits 1, 2 and 4) or for writing (mode 2:
  // "STOR", bits 1 and 4). A path with a directory (up to the last "/", or the last "\" where there
  // is no "/") changes the current directory first and stays there; the root is "/". Reading asks
  // for the file's size and time first, see GetFileInfo. A refusal to store with 550 deletes the
  // file on the server and tries once more. After a failure no data connection is open.
  int OpenResource(const char* path, int mode) override;
  // The same when the file on the server is later (earlier) than time, or when its time cannot be
  // read. Otherwise 0, with the status bit 2 set and bit 4 clear.
  int OpenResourceIfNewer(const char* name, int mode, const TTime& time) override;
  int OpenResourceIfOlder(const char* name, int mode, const TTime& time) override;
  // Closes the data connection and, when a transfer had begun, waits for the server's final reply.
  // Gives 1 whatever it is; in standard mode 0 unless it begins with "2", which means that the
  // transfer has failed. Without a transfer 1, at once. A command before it closes the data
  // connection, too, and drops the final reply.
  int Close() override;
  // Receives and sends on the data connection as TProtocol does; a result below 1 (0: the end of
  // the file, or of the server's patience) clears the status bits 1 and 16. -1 without an open
  // file. A Write sends all bytes, whatever their number: large blocks are fastest.
  int Read(char* buffer, int size) override;
  int Write(const char* buffer, int size) override;
  // Ends the wait in progress; while a data connection is open "ABOR" goes out, too, whose reply
  // is read, and dropped, before the next command. Gives 1. For any thread while the object exists.
  int Interrupt() override;
  const char* ProtocolName() override;
  WORD DefaultPort() override;

  // Logs on: "USER" with the account ("anonymous" without one) and, when the server asks with 331,
  // "PASS" with the password, or with an e-mail address when there is none. An empty text is none.
  int Login(const TSecurityInfo& security);
  // "TYPE": "I" for bytes as they are, "A" for lines. Stays until it is changed.
  int SetType(const char* type);
  // "PORT": where the server is to connect to.
  int SetPort(const TDestination& destination);
  // "PASV": where to connect to.
  int GetDataStreamAddress(TDestination* destination);
  // Opens a data connection for a command, in the direction that status bit 128 says; the server
  // must have begun the transfer with a reply of "1". Close ends it.
  int InitiateDataStream(const char* command, const char* argument);
  // Closes the data connection and clears the status bits 1 and 16. Gives 1.
  int DisconnectDataStream();

  // "DELE". A file that does not exist (any reply 55x) counts as deleted.
  int DeleteResource(const char* name);
  // "RNFR" and "RNTO".
  int RenameResource(const char* from, const char* to);
  // "SITE" and the text.
  int ExecuteCommand(const char* text);
  // "MKD" and "CWD". An empty or null path succeeds and sends nothing. One "/" or "\" at the end is
  // not sent, unless it is all there is. When the server refuses with 501, all separators of the
  // kind that the path uses first become the other kind, and it is tried once more. A change of
  // directory empties the directory list and clears the status bit 64. LastReplyCode is the reply's
  // in any case.
  int MakeDirectory(const char* path);
  int ChangeDirectory(const char* path);
  // "RMD". With recursive (not 0) everything in the directory is deleted with "DELE" first, in the
  // order of its listing; directories in it are not entered, so that it fails when there is one. An
  // empty or null path fails and sends nothing.
  int DeleteDirectory(const char* path, int recursive);
  // Asks for a file's listing line and takes size and time from it: GetSize, ResourceTime. 0 when
  // no line came.
  int GetFileInfo(const char* name);
  // Reads the listing of the current directory into the directory list: the names from "NLST" and,
  // with details (not 0), size, time and attributes from those lines of "LIST" that end with one of
  // the names. A name without such a line has none of them. Sets the status bit 64, and leaves the
  // transfer type at "A". 0, with an empty list, when the names cannot be read; when only the
  // details cannot, the names are there.
  int GetDirectoryList(int details = 1);
  // Begins a search of the directory list, which is read first unless status bit 64 says that it
  // is there already. pattern is that of a local search, ignoring the case of A to Z: "*", "?",
  // "*.*" for every name. The handle, with the first match in *findData; null when there is none.
  // A change of the list ends the search: FindNextFileA then gives 0.
  HANDLE FindFirstFileA(const char* pattern, TFindData* findData, int details = 1);
  // The next match; 0 when there is none.
  int FindNextFileA(HANDLE handle, TFindData* findData);
  // Ends the search; null and what is no search of this client are ignored.
  void FindClose(HANDLE handle);

  // Takes time and size from one line of a listing, whatever server wrote it; other fields keep
  // their values, and the size does when there is no number for it. The words of the line tell:
  // hh:mm or hh:mm:ss, a month's name of three letters with the day (2 to 30; 1 and 31 are not
  // taken) and the year beside it. The largest number elsewhere is the size, so a line with a year
  // in place of a time has at least that size. What is missing of the time is taken from the
  // current local time. Gives 1.
  static int ProcessFileInfo(const char* line, TFindData* findData);

  // Sends a command as one piece: the word and, with an argument that is not empty, a blank and the
  // argument. The count of bytes; 0 and nothing sent when a text holds a CR or LF, negative when
  // the connection failed or is not usable any more.
  int SendCommand(const char* command, const char* argument);
  // Reads a reply. code (4 characters) gets its three digits, or the empty text when there is none;
  // text (may be null; size with the terminator) what follows on its first line. With report a
  // refusal goes to the history. 1 when a reply came.
  int GetStatus(char* code, char* text, int size, int report);

  // The code of the last failing reply, and of the last one to "MKD" and "CWD".
  LONG LastReplyCode() const { return lastReply_; }
  // The host of the control connection; null when there is none.
  const char* ConnectedHost() const { return connectedHost_ ? connectedHost_->c_str() : nullptr; }
  // The directory list in the order of the listing; valid until the next operation.
  const std::vector<TFindData>& DirectoryList() const { return directoryList_; }

 private:
  struct Search;
  struct Reply;
  enum class Wanted { kNewer, kOlder };

  bool StandardMode() const { return (status_ & kStatusStandardMode) != 0; }
  bool Connected() const { return (status_ & kStatusConnected) != 0; }
  int KeepHost(const char* host);
  bool ReceivePlainLine(char* buffer, int size, int* budget);
  int ReceiveFirstLine(char* buffer, int size, int* budget);
  bool SkipFurtherLines(char* line, int size, int* budget);
  bool SettleReplies();
  Reply ReceiveReply();
  Reply Command(const char* command, const char* argument);
  int Succeeds(const char* command, const char* argument);
  int SendPath(const char* command, const char* path);
  bool EnterDirectoryOf(const char* path, const char** name);
  int OpenHere(const char* name, int mode);
  int OpenIf(const char* path, int mode, const TTime& time, Wanted wanted);
  int OpenPassive(const char* command, const char* argument);
  int OpenActive(const char* command, const char* argument);
  std::unique_ptr<TConnection> AcceptServer(TConnection& listener);
  bool BeginTransfer(const char* command, const char* argument);
  LONG FinishTransfer();
  int CountTransfer(int result);
  void SetDataConnection(std::unique_ptr<TConnection> connection);
  int ReadListing(const char* command, std::string* text);
  void ForgetDirectory();
  int FindFrom(Search& search, TFindData* findData);

  std::unique_ptr<TConnection> dataConnection_;
  std::optional<std::string> connectedHost_;
  std::vector<TFindData> directoryList_;

  LONG transferReply_ = 0;  // what answered the last transfer's command; 0 when none was sent
  DWORD directoryGeneration_ = 0;  // counts the changes of the list
  std::vector<std::unique_ptr<Search>> searches_;
  // Replies that the server still owes for what was sent and not waited for.
  std::atomic<int> finalRepliesOwed_{0};
  std::atomic<int> abortRepliesOwed_{0};
  // Held while the data connection comes and goes: Interrupt looks at it from another thread.
  std::mutex dataConnectionChange_;
};

// Walks the current directory of a client as a local search walks a directory. It is the entry that
// it stands at. The client must outlive it.
class BREVANT_API TFTPSearcher : public TFindData {
 public:
  // Begin a search, see TFTP::FindFirstFileA; Initialize ends the one before and gives what
  // GetFirst gives.
  TFTPSearcher(TFTP* ftp, const char* pattern, int details = 1);
  int Initialize(TFTP* ftp, const char* pattern, int details = 1);
  ~TFTPSearcher();
  TFTPSearcher(const TFTPSearcher&) = delete;
  TFTPSearcher& operator=(const TFTPSearcher&) = delete;

  // Whether there is a first entry; it is there already.
  int GetFirst() const { return found_; }
  // Goes on to the next entry; 0 when there is none.
  int GetNext();
  // Whether the client's directory list was complete when the search had begun.
  int ListComplete() const { return listComplete_; }

 private:
  TFTP* ftp_ = nullptr;
  HANDLE handle_ = nullptr;
  int found_ = 0;
  int listComplete_ = 0;
};
