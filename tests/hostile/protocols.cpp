#include "protocols.h"

#include "sessions.h"

namespace hostile {
namespace {

// One session in ten is honest, or nearly so; in others most answers are wrong.
unsigned Rate(Random& random) {
  constexpr unsigned kRates[] = {5, 20, 60, 60, 150, 150, 150, 300, 300, 700};
  return random.Of(kRates);
}

Habits HabitsOf(Random& random) {
  constexpr long kSomeMegabytes = 6L << 20;
  Habits habits;
  habits.rate = Rate(random);
  habits.mostFlood = kSomeMegabytes;
  habits.timeout = kTimeout;
  habits.floods = {"x", "\r\n", "\n", " ", ".", "line\r\n", std::string(1, '\0'), "\xff"};
  habits.replies = {"\r\n", "\n", "\r", ".\r\n", "..\r\n", " \r\n", "-\r\n", "+\r\n"};
  return habits;
}

void Add(std::vector<std::string>* list, std::initializer_list<const char*> more) {
  for (const char* text : more) list->emplace_back(text);
}

std::string Noise(Random& random, unsigned size) {
  std::string noise;
  for (unsigned i = 0; i < size; ++i) noise += static_cast<char>(random.Below(256));
  return noise;
}

std::string Multipart(Random& random, const std::string& name) {
  return "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"edge\"\n\n--edge\n"
         "Content-Type: text/html\n\n<p>Hello <img src=\"cid:a\"></p>\n--edge\n"
         "Content-Type: image/gif; name=\"" +
         name +
         "\"\nContent-ID: <a>\nContent-Transfer-Encoding: base64\n"
         "Content-Disposition: attachment; filename=\"" +
         name + "\"\n\nR0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7\n" +
         (random.OneIn(3) ? "" : "--edge--\n");
}

std::string Body(Random& random) {
  constexpr const char* kNames[] = {"a.gif",     "../../evil.gif", "/tmp/evil.gif", "C:\\x.gif",
                                    "..\\x.gif", "con.gif",        ".htaccess",     "a\tb.gif",
                                    "index.htm", "state.ini "};
  switch (random.Below(7)) {
    case 0:
      return "\n";
    case 1:
      return "\n.\n..\n.x\nFrom here\n\n.\n";
    case 2:
      return Multipart(random, random.Of(kNames));
    case 3:
      return "Content-Type: text/plain\nContent-Transfer-Encoding: "
             "quoted-printable\n\n=41=\n=zz=0\n"
             "=\n";
    case 4:
      return "\n" + std::string(random.Below(5000), 'l') + "\n";
    case 5:
      return "\n" + Noise(random, random.Below(600)) + "\n";
    default:
      return "Content-Type: text/plain; charset=\"utf-8\"\n\nGr\xC3\xBC\xC3\x9F"
             "e\nline two\n";
  }
}

}  // namespace

Habits Pop3Habits(Random& random) {
  Habits habits = HabitsOf(random);
  Add(&habits.replies,
      {"+OK\r\n", "-ERR\r\n", "-ERR no\r\n", "+OK 4294967295 1\r\n", "+OK -1 -1\r\n",
       "+OK 99999999999999999999 0\r\n", "+OK 3\r\n", "+OK 2147483647 9\r\n", "+ idle\r\n",
       "+OK\r\n.\r\n", "+OK\r\n\r\n.\r\n", "+OK\r\n\r\n\r\n.\r\n", "%s%n%d\r\n", "-ERR %s%s%n\r\n",
       "+OK\r\nSubject: x\r\n\tfold\r\n\r\n", "HTTP/1.0 200 OK\r\n\r\n"});
  Add(&habits.floods, {"+OK\r\n", "-ERR no\r\n", "+OK\r\nSubject: x\r\n\r\n", "Subject: y\r\n",
                       "\tfolded\r\n", "+OK\r\n\r\n.\r\n", "--edge\r\n", "=\r\n"});
  return habits;
}

Habits SmtpHabits(Random& random) {
  Habits habits = HabitsOf(random);
  Add(&habits.replies,
      {"250 ok\r\n", "250\r\n", "250-more\r\n", "251 elsewhere\r\n", "220 hello\r\n", "421 bye\r\n",
       "450 later\r\n", "550 no\r\n", "550-no\r\n550 no\r\n", "553-x\r\n250 y\r\n", "25\r\n",
       "999 what\r\n", "000 what\r\n", "-250 x\r\n", "250x\r\n", "500 %s%n\r\n", "503 order\r\n"});
  Add(&habits.floods,
      {"250 ok\r\n", "250-more\r\n", "550-no\r\n", "550 no\r\n", "421 bye\r\n", "2"});
  // Rare, since it is the one reply after which a client may say everything.
  if (random.OneIn(6)) habits.replies.emplace_back("354 go on\r\n");
  return habits;
}

Habits FtpHabits(Random& random) {
  Habits habits = HabitsOf(random);
  Add(&habits.replies,
      {"150 coming\r\n", "125 open\r\n", "331 password\r\n", "350 more\r\n", "421 bye\r\n",
       "425 no data\r\n", "426 cut\r\n", "451 local\r\n", "500 what\r\n", "501 path\r\n",
       "530 log in\r\n", "550 no\r\n", "553 name\r\n", "150-more\r\n", "550-no\r\n550 no\r\n",
       "550-never ending\r\n", "5\r\n", "999 x\r\n", "550 %s%n%s\r\n"});
  Add(&habits.floods, {"150-more\r\n", "550 no\r\n", "550-more\r\n", "150 go\r\n", "421 bye\r\n"});
  // Positive replies that nobody asked for: what the client believes then is the server's word.
  if (random.OneIn(4)) {
    Add(&habits.replies, {"200 fine\r\n", "226 done\r\n", "250 done\r\n", "230 in\r\n", "2\r\n"});
    Add(&habits.floods, {"226 done\r\n", "200-more\r\n"});
  }
  return habits;
}

std::string MailFor(Random& random, const std::string& to, const std::string& subject) {
  std::string mail = "From: \"Ann Smith\" <ann@example.org>\nTo: \"" + to +
                     "\" <board@example.org>\nSubject: " + subject + "\nMessage-Id: <" + subject +
                     "@example.org>\nDate: Tue, 2 Jun 1998 10:20:30 GMT\n";
  if (random.OneIn(5)) mail += "X-Long: " + std::string(random.Below(3000), 'h') + "\n";
  if (random.OneIn(5)) mail += "X-Folded: one\n\ttwo\n three\n";
  return mail + Body(random);
}

}  // namespace hostile
