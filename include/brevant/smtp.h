// Mail out: the SMTP client.
//
// One message: Connect; From, Subject, ReplyTo, BBS as wanted; OpenResource for each recipient;
// StartData; Write or WriteLine for the body; Close. Then the next message or Disconnect. Before
// the data has begun Abort takes the message back. Once it has, only TProtocol::Disconnect does:
// a server drops a message whose end never came.
//
// Who does what. The client writes the commands, the lines "Subject: ", "Reply-to: " and "BBS: "
// and those of AddHeader, the empty line behind them and the end of the data. Everything else is
// the caller's body. Without standard mode the body goes out as it is, and the caller must write a
// line that is a single "." as "..", whatever ends that line (CR LF, LF or CR), since it would end
// the message. In standard mode (status bit 256, set before Connect) the client sees to line ends
// and dots itself and the caller to the rest of RFC 5322: header fields through AddHeader, texts
// as encoded words, no line over 998 bytes, and a content that suits the encoding it names.
//
// When the connection fails (no reply in time, an interruption, the continue flag, a peer that
// closes, the server's code 421) the status bit 8 is cleared and no reply is awaited on it any
// more, since the next one could belong to an earlier command. Commands still go out, "RSET" and
// "QUIT" among them, unless it was a sending that failed.
#pragma once

#include <brevant/net.h>

#include <optional>
#include <string>
#include <string_view>

// Sends messages to an SMTP server. Operations give 1 for success and 0 for failure unless they say
// otherwise.
class BREVANT_API TSMTP : public TProtocol {
 public:
  TSMTP();
  // Closes the connection without "QUIT".
  ~TSMTP() override;

  using TProtocol::Connect;
  // Connects to host (a name or a dotted address), reads the greeting (220) and says who calls
  // (Login). port is the unsigned number in 16 bits; 65535, which is -1, stands for 25. After a
  // failure the connection stays as far as it came until Disconnect.
  int Connect(const char* host, short port);
  // Sends "Helo" with the connection's own address in dotted form; 1 when 250 came back. Standard
  // mode: "EHLO [address]", then "HELO [address]" when that is refused with 5yz.
  int Login();

  // Store copies; null clears. The sender stays for the following messages, the other three are
  // dropped by Close, Abort and Disconnect. 0 when memory runs out. A line end in a header text
  // becomes a blank; a sender with one is refused by OpenResource.
  //
  // From begins a message: when the server accepted a sender before and none of that message's
  // recipients, "RSET" goes out before the next "Mail From:".
  //
  // Standard mode: of `"Name" <address>` the address alone is the envelope's sender.
  int From(const char* text);
  int Subject(const char* text);
  int ReplyTo(const char* text);
  int BBS(const char* text);
  // One more header line, sent behind the three above in the order of the calls, dropped with them.
  // name is a field name (printable ASCII without ":"), value its content. A fold, which is CR LF
  // and a blank or tab that is not the line's only content, stays; any other line end becomes a
  // blank. 0 when the name is none or memory runs out.
  int AddHeader(const char* name, const char* value);

  // Names a recipient; mode must be 2. Sends "Mail From:" first when no sender has been accepted
  // for this message ("anonymous" without one; in standard mode "MAIL FROM:<>"), which another
  // reply than 250 does not end. 1 when the recipient was accepted (250 or 251). 0, and nothing
  // sent, when an address holds a CR or LF or, in standard mode, is no path: an unquoted blank,
  // control character or angle bracket, or no recipient at all. RecipientReply tells why it is 0.
  int OpenResource(const char* recipient, int mode) override;
  // Starts the data as the first Write does: "Data" and, when 354 comes back, the header lines, if
  // there are any, with an empty line behind them. 1 when the data has begun, also by an earlier
  // call. 0 when the server gave no 354: nothing of the message was sent, and Abort takes it back.
  int StartData();
  // Sends bytes of the body, after StartData when that was not called, and whatever came of it: a
  // caller that starts the data itself does not write to a server that takes the lines for
  // commands. The count, below 1 on failure.
  //
  // Standard mode: nothing is sent, and the result is -1, unless the data has begun. A line end of
  // any kind (CR LF, LF, CR, also one split over two calls) goes out as CR LF, and a dot that
  // begins a line is doubled; the count is that of the bytes given. They wait, up to 16 KB of them,
  // to go out together, at the latest with Close, which then tells of a failure.
  int Write(const char* buffer, int size) override;
  // Writes the text (count bytes; -1: up to its terminator) and then a CR LF; the sum of both
  // counts.
  int WriteLine(const char* text, int count = -1);
  // Ends the message with CR LF "." CR LF and waits for the reply; 1 when it is 250. Standard mode:
  // no empty line is added to a body that ends with a line end; when no data has begun, the message
  // is taken back as with Abort and the result is 0.
  int Close() override;
  // Takes the message back with "RSET"; 1 when 250 came back. 0, and nothing is sent, once the data
  // has begun. While the continue flag is clear the reply is not waited for.
  int Abort();
  // Sends "QUIT" without waiting for its reply, closes the connection and drops all texts. Gives 0.
  int Disconnect() override;

  const char* ProtocolName() override;
  WORD DefaultPort() override;

  // Sends those header lines that are set: subject, reply address, board tag, AddHeader's. 1 when
  // at least one was sent. Called by StartData; the empty line follows when it gives 1.
  virtual int SendHeader();

  // Sends a command as one piece: the text and, with an argument, a blank and the argument, then
  // CR LF. The count of bytes; 0 and nothing sent when a text holds a CR or LF; negative when the
  // connection failed.
  int SendCommand(const char* command, const char* argument);
  // Reads a reply; buffer (may be null; size with the terminator) gets the text after the first
  // blank of its line. The three-digit code; 0 for a line that is none (of three characters or
  // fewer, or not begun by three digits) and when none came. Each line is a reply; in standard mode
  // all lines of a reply are read, the last one counts and may be the bare code, and a line that is
  // none ends the use of the connection.
  int GetResponse(char* buffer, int size);

  // Whether the server has accepted a sender for this message; whether the data has begun.
  bool SenderAccepted() const { return senderAccepted_ != 0; }
  bool DataStarted() const { return dataStarted_ != 0; }
  // The code that answered the "Rcpt To:" of the last OpenResource; 0 when none was sent or no
  // reply came. 421 says nothing about the recipient: the server closes.
  int RecipientReply() const { return recipientReply_; }

 private:
  using OwnedText = std::optional<std::string>;

  bool StandardMode() const { return (status_ & kStatusStandardMode) != 0; }
  bool Connected() const { return (status_ & kStatusConnected) != 0; }
  int ReceiveReply(char* line, int size);
  int ReceiveReplyStandard(char* line, int size);
  bool SendMailFrom();
  int SendRecipient(const char* recipient);
  int ResetTransaction();
  bool MaySend();
  int SendBytes(const char* buffer, int size);
  bool SendHeld();
  bool SendText(std::string_view text);
  bool CutOff();
  int WriteStandard(const char* buffer, int size);
  void ForgetTransaction();
  void ForgetMessage();

  int senderAccepted_ = 0;
  int dataStarted_ = 0;
  OwnedText sender_;
  OwnedText subject_;
  OwnedText replyTo_;
  OwnedText bbs_;

  std::string moreHeader_;  // whole lines
  std::string held_;        // standard mode: bytes of the message that wait for company
  int recipientReply_ = 0;
  bool recipientAccepted_ = false;  // of the message at hand
  bool toldServer_ = false;         // a server was named the sender of the message at hand
  bool resetFirst_ = false;         // a sender stands at the server that nobody was reached with
  bool sendingFailed_ = false;      // what the server has of the last piece is not known
  bool atLineStart_ = true;         // standard mode: of the body as it was sent
  bool afterReturn_ = false;        // standard mode: the body written so far ends with CR
};
