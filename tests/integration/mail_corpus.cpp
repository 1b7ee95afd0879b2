#include "mail_corpus.h"

namespace test {

namespace {

using TFate = ExpectedMail::TFate;

std::string WithCrLf(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\n') result += '\r';
    result += c;
  }
  return result;
}

// Bytes of every value, of a length that no group of three divides.
std::string Binary(int n) {
  std::string bytes;
  for (int i = 0; i < 1000 + n % 3; ++i) bytes.push_back(static_cast<char>((i * 7 + n) & 0xFF));
  return bytes;
}

class Maker {
 public:
  explicit Maker(int n) : n_(std::to_string(n)), number_(n) {}

  std::string Marker() const { return "marker" + n_ + "end"; }
  std::string Subject() const { return "Subject number " + n_ + "."; }

  std::string Header(const std::string& more, const std::string& tag = "General_Talk") const {
    return "Return-Path: <visitor" + n_ +
           "@example.org>\nReceived: from a by b; Mon, 3 Jun 2024 "
           "10:00:00 +0000\nFrom: \"Visitor " +
           n_ + "\" <visitor" + n_ +
           "@example.org>\nTo: "
           "\"[My_Board:" +
           tag + "]\" <board@example.org>\nSubject: " + Subject() + "\nMessage-ID: <" + n_ +
           "@example.org>\nDate: Tue, 4 Jun 2024 12:34:56 +0200\n"
           "MIME-Version: 1.0\n" +
           more;
  }

  ExpectedMail Filed(const std::string& text, const std::string& content,
                     const std::string& type = "text/plain",
                     const std::string& charset = "iso-8859-1") const {
    ExpectedMail mail;
    mail.text = text;
    mail.forum = "General Talk";
    mail.subject = Subject();
    mail.type = type;
    mail.charset = charset;
    mail.content = WithCrLf(content);
    mail.marker = Marker();
    return mail;
  }

  ExpectedMail Gone(const std::string& text) const {
    ExpectedMail mail;
    mail.text = text;
    mail.fate = TFate::kDeleted;
    return mail;
  }

  ExpectedMail Stays(const std::string& text) const {
    ExpectedMail mail;
    mail.text = text;
    mail.fate = TFate::kStays;
    mail.marker = Marker();
    return mail;
  }

  ExpectedMail Attachment(const std::string& header, const std::string& edge) const {
    const std::string bytes = Binary(number_);
    ExpectedMail mail =
        Filed(header + "\nThis is a message of several parts.\n--" + edge +
                  "\nContent-Type: text/plain; charset=\"us-ascii\"\n\nSee the file. " + Marker() +
                  "\n--" + edge + "\nContent-Type: application/octet-stream; name=\"data " + n_ +
                  ".bin\"\nContent-Transfer-Encoding: base64\nContent-Disposition: attachment; "
                  "filename=\"data " +
                  n_ + ".bin\"\n\n" + EncodeBase64(bytes) + "\n--" + edge + "--\n",
              "See the file. " + Marker(), "text/plain", "us-ascii");
    mail.files.emplace_back("data " + n_ + ".bin", bytes);
    return mail;
  }

  const std::string& N() const { return n_; }
  int Number() const { return number_; }

 private:
  std::string n_;
  int number_;
};

using Kind = ExpectedMail (*)(const Maker& m);

ExpectedMail PlainWithEmptyLastLine(const Maker& m) {
  const std::string body = "Hello,\n\nthis is " + m.Marker() + "\n\n";
  return m.Filed(m.Header("") + "\n" + body, body);
}

ExpectedMail PlainWithoutEmptyLastLine(const Maker& m) {
  const std::string body = "Hello,\nthis is " + m.Marker() + "\n";
  return m.Filed(m.Header("") + "\n" + body, body);
}

ExpectedMail PlainWithoutLineEnd(const Maker& m) {
  const std::string body = "The last line does not end: " + m.Marker();
  return m.Filed(m.Header("") + "\n" + body, body + "\n");
}

ExpectedMail EmptyBody(const Maker& m) {
  ExpectedMail mail = m.Filed(m.Header("") + "\n", "");
  mail.marker = m.Subject();
  return mail;
}

ExpectedMail Html(const Maker& m) {
  const std::string body = "<html><body><p>Hello <b>" + m.Marker() + "</b></p></body></html>\n";
  return m.Filed(m.Header("Content-Type: text/html; charset=\"utf-8\"\n") + "\n" + body, body,
                 "text/html", "utf-8");
}

ExpectedMail Alternative(const Maker& m) {
  return m.Filed(m.Header("Content-Type: multipart/alternative; boundary=\"=_edge\"\n") +
                     "\n--=_edge\nContent-Type: text/plain; charset=\"utf-8\"\n\nplain form\n"
                     "--=_edge\nContent-Type: text/html; charset=\"utf-8\"\n\n<p>" +
                     m.Marker() + "</p>\n--=_edge--\n",
                 "<p>" + m.Marker() + "</p>", "text/html", "utf-8");
}

ExpectedMail AlternativeUnquoted(const Maker& m) {
  return m.Filed(m.Header("content-type: Multipart/Alternative; CHARSET=utf-8; BOUNDARY=edge7\n") +
                     "\n--edge7\nContent-type: TEXT/PLAIN; charset=utf-8\n\nplain form\n"
                     "--edge7\nContent-type: Text/HTML; charset=utf-8\n\n<p>" +
                     m.Marker() + "</p>\n--edge7--\n",
                 "<p>" + m.Marker() + "</p>", "text/html", "utf-8");
}

ExpectedMail Nested(const Maker& m) {
  const std::string bytes = Binary(m.Number() + 1);
  ExpectedMail mail = m.Filed(
      m.Header("Content-Type: multipart/mixed;\n boundary=outer\n") +
          "\npreamble\n--outer\nContent-Type: multipart/alternative;\n\tboundary=\"inner\"\n\n"
          "--inner\nContent-Type: text/plain\n\nplain form\n--inner\nContent-Type: text/html\n\n"
          "<p>" +
          m.Marker() +
          "</p>\n--inner--\n\n--outer\nContent-Type: application/pdf; "
          "name=paper.pdf\nContent-Transfer-Encoding: BASE64\nContent-Disposition: attachment\n\n" +
          EncodeBase64(bytes) + "\n--outer--\nepilogue\n",
      "<p>" + m.Marker() + "</p>", "text/html");
  mail.files.emplace_back("paper.pdf", bytes);
  return mail;
}

ExpectedMail Base64File(const Maker& m) {
  return m.Attachment(m.Header("Content-Type: multipart/mixed; boundary=\"b-b\"\n"), "b-b");
}

ExpectedMail QuotedPrintable(const Maker& m) {
  return m.Filed(m.Header("Content-Type: text/plain; charset=iso-8859-1\n"
                          "Content-Transfer-Encoding: quoted-printable\n") +
                     "\nGr=FC=DFe aus K=F6ln, " + m.Marker() +
                     " and a line that was too long and so was =\nbroken softly=20\n=3D\n",
                 "Gr\xFC\xDF"
                 "e aus K\xF6ln, " +
                     m.Marker() + " and a line that was too long and so was broken softly \n=\n");
}

ExpectedMail Utf8(const Maker& m) {
  const std::string body = "Grüße, 日本語, " + m.Marker() + "\n";
  return m.Filed(m.Header("Content-Type: text/plain; charset=UTF-8\n"
                          "Content-Transfer-Encoding: 8bit\n") +
                     "\n" + body,
                 body, "text/plain", "UTF-8");
}

ExpectedMail Utf8Base64(const Maker& m) {
  const std::string body = "Grüße, " + m.Marker() + "\r\nzweite Zeile\r\n";
  ExpectedMail mail = m.Filed(m.Header("Content-Type: text/plain; charset=\"utf-8\"\n"
                                       "Content-Transfer-Encoding: base64\n") +
                                  "\n" + EncodeBase64(body) + "\n",
                              "", "text/plain", "utf-8");
  mail.content = body;
  return mail;
}

ExpectedMail Reply(const Maker& m) {
  const std::string body = "An answer, " + m.Marker() + "\n\n> quoted\n\n";
  ExpectedMail mail =
      m.Filed(m.Header("In-Reply-To: <1@example.org>\n", "General_Talk:1") + "\n" + body, body);
  mail.linkId = 1;
  return mail;
}

std::string Request(const Maker& m, const std::string& word, const std::string& sender) {
  return "From: " + sender +
         "\nTo: \"[My_Board:General_Talk]\" <board@example.org>\nSubject: " + word +
         "\nMessage-ID: <" + m.N() + "@example.org>\n\n\n";
}

ExpectedMail Subscription(const Maker& m) {
  return m.Gone(Request(m, "subscribe", "\"New " + m.N() + "\" <new" + m.N() + "@example.org>"));
}

ExpectedMail Unsubscription(const Maker& m) {
  return m.Gone(Request(m, "UNSUBSCRIBE", "<old" + m.N() + "@example.org>"));
}

ExpectedMail OwnMail(const Maker& m) {
  return m.Gone(m.Header("BBS: my board\n") + "\nsent by the board itself, " + m.Marker() + "\n\n");
}

ExpectedMail Stray(const Maker& m) {
  return m.Stays("From: somebody@example.org\nTo: board@example.org\nSubject: Stray " + m.N() +
                 "\n\nNot for the board: " + m.Marker() + "\n\n");
}

ExpectedMail WrongForum(const Maker& m) {
  return m.Stays(m.Header("", "No_Such_Forum") + "\n" + m.Marker() + "\n\n");
}

ExpectedMail FoldedWithTabs(const Maker& m) {
  const std::string body = "Folded, " + m.Marker() + "\n\n";
  return m.Filed(
      "From: visitor@example.org\nTo:\n\t\"[My_Board:General_Talk]\" "
      "<board@example.org>\nSubject: Subject\n\tnumber " +
          m.N() + ".\n\n" + body,
      body);
}

ExpectedMail FoldedWithTabsBehindABlank(const Maker& m) {
  const std::string body = "Folded, " + m.Marker() + "\n\n";
  return m.Filed(
      "From: visitor@example.org\nTo: board@example.org,\n\t\"[My_Board:General_Talk]\" "
      "<board@example.org>\nSubject: Subject\n\tnumber " +
          m.N() + ".\n\n" + body,
      body);
}

ExpectedMail FoldedWithBlanks(const Maker& m) {
  const std::string body = "Folded, " + m.Marker() + "\n";
  return m.Filed(
      "From: visitor@example.org\nTo: \"[My_Board:General_Talk]\"\n <board@example.org>\n"
      "Subject: Subject\n number\n " +
          m.N() + ".\n\n" + body,
      body);
}

ExpectedMail Dots(const Maker& m) {
  const std::string body = "Dots, " + m.Marker() + "\n\n.\n..\n.x\n\n. end\n";
  return m.Filed(m.Header("") + "\n" + body, body);
}

ExpectedMail NoBlankAfterColon(const Maker& m) {
  const std::string body = "Tight, " + m.Marker() + "\n";
  return m.Filed(
      "From:visitor@example.org\nTo:\"[My_Board:General_Talk]\"<board@example.org>\n"
      "Subject:" +
          m.Subject() + "\nDate:Tue, 4 Jun 2024 12:34:56 +0200\n\n" + body,
      body);
}

ExpectedMail Related(const Maker& m) {
  const std::string image = "GIF89a" + Binary(m.Number());
  ExpectedMail mail = m.Filed(
      m.Header("Content-Type: multipart/related; boundary=rel; type=\"text/html\"\n") +
          "\n--rel\nContent-Type: text/html; charset=us-ascii\n\n<p>" + m.Marker() +
          "</p><img src=\"cid:pic" + m.N() +
          "@example.org\" alt=\"\">\n--rel\nContent-Type: "
          "image/gif; name=\"pic.gif\"\nContent-Transfer-Encoding: base64\nContent-ID: <pic" +
          m.N() + "@example.org>\nContent-Disposition: inline; filename=\"pic.gif\"\n\n" +
          EncodeBase64(image) + "\n--rel--\n",
      "", "text/html", "us-ascii");
  mail.exactContent = false;
  mail.files.emplace_back("pic.gif", image);
  return mail;
}

ExpectedMail EncodedFileName(const Maker& m) {
  ExpectedMail mail =
      m.Filed(m.Header("Content-Type: multipart/mixed; boundary=e1\n") +
                  "\n--e1\nContent-Type: text/plain\n\n" + m.Marker() +
                  "\n--e1\nContent-Type: text/plain\nContent-Disposition: attachment;\n"
                  " filename*=utf-8''notes%20of%20June.txt\n\nthe notes\n--e1--\n",
              m.Marker());
  mail.files.emplace_back("notes of June.txt", "the notes");
  return mail;
}

ExpectedMail Form(const Maker& m) {
  ExpectedMail mail = m.Filed(
      "From: visitor@example.org\nTo: \"[My_Board:General_Talk]\" <board@example.org>\n"
      "Subject: Form posted\nContent-Type: application/x-www-form-urlencoded\n\n"
      "Subject=Subject+number+" +
          m.N() + ".&Content=Typed+into+a+form%2C+" + m.Marker() + "\n\n",
      "Typed into a form, " + m.Marker());
  return mail;
}

ExpectedMail Program(const Maker& m) {
  return m.Filed(m.Header("Content-Type: multipart/mixed; boundary=\"p\"\n") +
                     "\n--p\nContent-Type: text/plain\n\n" + m.Marker() +
                     "\n--p\nContent-Type: application/octet-stream; name=\"SETUP.EXE\"\n"
                     "Content-Disposition: attachment; filename=\"SETUP.EXE\"\n\nMZ\n--p--\n",
                 m.Marker());
}

ExpectedMail ByMailingList(const Maker& m) {
  const std::string body = "From the outside list, " + m.Marker() + "\n\n";
  return m.Filed("From: visitor@example.org\nTo: outside@lists.example.org\nSubject: " +
                     m.Subject() + "\n\n" + body,
                 body);
}

ExpectedMail ByCopy(const Maker& m) {
  const std::string body = "By the copy recipients, " + m.Marker() + "\n\n";
  return m.Filed(
      "From: visitor@example.org\nTo: friend@example.org\nCc: "
      "\"[My:General_Talk]\" <board@example.org>\nSubject: " +
          m.Subject() + "\n\n" + body,
      body);
}

ExpectedMail FormatCharacters(const Maker& m) {
  const std::string body = "%s%n%x <script>alert(1)</script> & " + m.Marker() + "\n\n";
  return m.Filed(m.Header("") + "\n" + body, body);
}

ExpectedMail PlainQuotedPrintable(const Maker& m) {
  return m.Filed(m.Header("Content-Type: text/plain; charset=\"iso-8859-1\"\n"
                          "Content-Transfer-Encoding: quoted-printable\n") +
                     "\nGr=FC=DFe, " + m.Marker() + " and a long line =\nthat goes on\n\n",
                 "Gr\xFC\xDF"
                 "e, " +
                     m.Marker() + " and a long line that goes on\n\n");
}

ExpectedMail PlainAlternative(const Maker& m) {
  return m.Filed(m.Header("Content-Type: multipart/alternative; boundary=\"=_edge\"\n") +
                     "\n--=_edge\nContent-Type: text/plain; charset=\"utf-8\"\n\nplain form\n\n"
                     "--=_edge\nContent-Type: text/html; charset=\"utf-8\"\n\n<p>" +
                     m.Marker() + "</p>\n\n--=_edge--\n\n",
                 "<p>" + m.Marker() + "</p>\n\n", "text/html", "utf-8");
}

ExpectedMail PlainFile(const Maker& m) {
  // Three bytes a group: no padding, which would count as zero bytes.
  std::string bytes = Binary(0).substr(0, 171);
  std::string encoded = EncodeBase64(bytes);
  ExpectedMail mail = m.Filed(
      m.Header("Content-Type: multipart/mixed; boundary=\"bb\"\n") +
          "\n--bb\nContent-Type: text/plain; charset=\"us-ascii\"\n\n" + m.Marker() +
          "\n\n--bb\nContent-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n"
          "Content-Disposition: attachment; filename=\"data.bin\"\n\n" +
          encoded + "\n--bb--\n\n",
      m.Marker() + "\n\n", "text/plain", "us-ascii");
  mail.files.emplace_back("data.bin", bytes);
  return mail;
}

// A link, by its subject alone or by a form.
ExpectedMail LinkMail(const Maker& m, const std::string& list, const std::string& subject,
                      const std::string& more) {
  ExpectedMail mail = m.Filed("From: visitor@example.org\nTo: \"[My_Board:" + list +
                                  "]\" <board@example.org>\nSubject: " + subject + "\n" + more,
                              "");
  mail.forum.clear();
  mail.list = list;
  mail.exactContent = false;
  mail.address = "http://www.example.org/" + m.N();
  return mail;
}

ExpectedMail Link(const Maker& m) {
  ExpectedMail mail = LinkMail(
      m, "Good_Links", m.Subject() + " at http://www.example.org/" + m.N() + " is " + m.N() + "K",
      "\nAbout the page, " + m.Marker() + "\n\n");
  mail.size = m.Number();
  return mail;
}

ExpectedMail LinkForm(const Maker& m) {
  return LinkMail(m, "Articles", "posted",
                  "Content-Type: application/x-www-form-urlencoded\n\nSubject=Subject+number+" +
                      m.N() + ".&Address=http%3A%2F%2Fwww.example.org%2F" + m.N() +
                      "&Content=About+it%2C+" + m.Marker() + "\n\n");
}

ExpectedMail VoteMail(const Maker& m, const std::string& answer, const std::string& more) {
  ExpectedMail mail = m.Gone("From: voter" + m.N() +
                             "@example.org\nTo: \"[My:Survey]\" <board@example.org>\n"
                             "Subject: Vote\nMessage-ID: <" +
                             m.N() + "@example.org>\n" + more);
  mail.vote = answer;
  return mail;
}

ExpectedMail VoteByForm(const Maker& m) {
  return VoteMail(m, "Deep blue",
                  "Content-Type: application/x-www-form-urlencoded\n\n"
                  "Best+colour=Deep+blue&Submit=Vote\n\n");
}

ExpectedMail VoteByFile(const Maker& m) {
  return VoteMail(m, "Red",
                  "Content-Type: multipart/mixed; boundary=\"v\"\n\n--v\nContent-Type: "
                  "application/octet-stream\nContent-Transfer-Encoding: base64\n"
                  "Content-Disposition: attachment; filename=\"POSTDATA.ATT\"\n\n" +
                      EncodeBase64("Best+colour=Red") + "\n\n--v--\n\n");
}

ExpectedMail VoteByText(const Maker& m) {
  return VoteMail(m, "Deep blue", "\nBest colour=Deep blue\nSubmit=Vote\n\n");
}

ExpectedMail VoteByEncodedLine(const Maker& m) {
  return VoteMail(m, "Red",
                  "Content-Type: multipart/alternative; boundary=v\n\n--v\nContent-Type: "
                  "text/plain; charset=utf-8; format=flowed\n\nBest+colour=Red&Submit=Vote\n"
                  "--v\nContent-Type: text/html\n\n<p>Best+colour=Red&amp;Submit=Vote</p>\n"
                  "--v--\n");
}

ExpectedMail VoteForNothing(const Maker& m) {
  return m.Gone(
      "From: a@b\nTo: \"[My:Survey]\" <board@example.org>\nSubject: Vote\n\n"
      "Best colour=Green\n\n");
}

// Every type of image, named and nameless, and a file that pages have no link type for.
ExpectedMail Images(const Maker& m) {
  ExpectedMail mail = m.Filed(m.Header("Content-Type: multipart/mixed; boundary=\"im\"\n") +
                                  "\n--im\nContent-Type: text/html; charset=\"us-ascii\"\n\n<p>" +
                                  m.Marker() + "</p>\n\n",
                              "", "text/html", "us-ascii");
  const std::pair<const char*, const char*> images[] = {{"image/gif", "a picture.gif"},
                                                        {"image/jpeg", "dir/b.JPG"},
                                                        {"image/png", "/c.png"},
                                                        {"image/bmp", "d.bmp"}};
  for (const auto& [type, name] : images) {
    // Three bytes a group, so that no padding counts as bytes without standard mode.
    const std::string bytes = (type + Binary(m.Number())).substr(0, 57);
    mail.text += "--im\nContent-Type: " + std::string(type) +
                 "\nContent-Transfer-Encoding: base64\nContent-Disposition: attachment; "
                 "filename=\"" +
                 name + "\"\n\n" + EncodeBase64(bytes) + "\n\n";
    mail.files.emplace_back(name, bytes);
  }
  mail.text += "--im--\n\n";
  mail.exactContent = false;
  return mail;
}

std::vector<ExpectedMail> Make(const std::vector<Kind>& kinds, int rounds) {
  std::vector<ExpectedMail> mails;
  int number = 1;
  for (int round = 0; round < rounds; ++round) {
    for (const Kind kind : kinds) mails.push_back(kind(Maker(number++)));
  }
  return mails;
}

}  // namespace

std::string EncodeBase64(const std::string& bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string encoded;
  std::size_t onLine = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    unsigned group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    for (unsigned k = 0; k < 4; ++k) {
      encoded += i + k > bytes.size() ? '=' : kDigits[group >> (18 - 6 * k) & 63];
    }
    onLine += 4;
    if (onLine == 76 && i + 3 < bytes.size()) {
      encoded += '\n';
      onLine = 0;
    }
  }
  return encoded;
}

std::vector<ExpectedMail> TodaysMail(int rounds) {
  return Make({PlainWithEmptyLastLine,
               PlainWithoutEmptyLastLine,
               PlainWithoutLineEnd,
               EmptyBody,
               Html,
               Alternative,
               AlternativeUnquoted,
               Nested,
               Base64File,
               QuotedPrintable,
               Utf8,
               Utf8Base64,
               Reply,
               Subscription,
               Unsubscription,
               OwnMail,
               Stray,
               WrongForum,
               FoldedWithTabs,
               FoldedWithBlanks,
               Dots,
               NoBlankAfterColon,
               Related,
               EncodedFileName,
               Form,
               Program,
               ByMailingList,
               ByCopy,
               FormatCharacters,
               Link,
               LinkForm,
               VoteByForm,
               VoteByFile,
               VoteByText,
               VoteByEncodedLine,
               VoteForNothing,
               Images},
              rounds);
}

std::vector<ExpectedMail> PlainMail(int rounds) {
  std::vector<ExpectedMail> mails = Make({PlainWithEmptyLastLine,
                                          PlainQuotedPrintable,
                                          PlainAlternative,
                                          PlainFile,
                                          Reply,
                                          Subscription,
                                          Unsubscription,
                                          OwnMail,
                                          Stray,
                                          WrongForum,
                                          FoldedWithTabsBehindABlank,
                                          Form,
                                          ByMailingList,
                                          ByCopy,
                                          FormatCharacters,
                                          Link,
                                          LinkForm,
                                          VoteByForm,
                                          VoteByFile,
                                          VoteByText,
                                          VoteForNothing,
                                          Images},
                                         rounds);
  // The plain reader takes a message's last empty line for a part of the end mark.
  for (ExpectedMail& mail : mails) {
    if (mail.text.find("boundary=") == std::string::npos && mail.content.ends_with("\r\n\r\n")) {
      mail.content.resize(mail.content.size() - 2);
    }
  }
  return mails;
}

}  // namespace test
