#include "random_saboteur.h"

#include <algorithm>

namespace hostile {

using test::Deviation;

namespace {

constexpr std::size_t kNotedBytes = 4096;
constexpr std::size_t kMostEvents = 100000;
constexpr std::size_t kLongestRepetition = 1 << 18;
// Bytes that parsers look for, beside any others.
constexpr std::string_view kTelling = "\r\n\r\n. -+0123456789:;=\"'()<>[]/\\*?%&#@\t\0\xff\x80.";
// The same without what addresses are made of.
constexpr std::string_view kTellingNoDigits = "\r\n -+()<>.;\0\xff\t";
// Addresses that lead nowhere else: on port 1 of this machine nobody listens.
constexpr const char* kOddAddresses[] = {
    "127,0,0,1,0,0", "127,0,0,1,0,1",    "127,0,0,1,256,1",   "127,0,0,1,999999999999,1",
    "127,0,0,1",     "127,0,0,1,0,1,5,", "127,,0,0,1,0,1",    "",
    ",,,,,",         "127,0,0,1,-0,1",   "0127,0,0,01,00,01", " 127, 0, 0, 1, 0, 1 "};

std::vector<std::string> LinesOf(const std::string& bytes) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', at), bytes.size() - 1) + 1;
    lines.push_back(bytes.substr(at, end - at));
    at = end;
  }
  return lines;
}

void Replace(Deviation* deviation, std::string bytes) {
  deviation->replaced = true;
  deviation->reply = std::move(bytes);
}

}  // namespace

std::atomic<long> SessionLog::answers{0};
std::atomic<long> SessionLog::deviating{0};

int RepliesOf(char digit, std::string_view text) {
  int count = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == digit && (at == 0 || text[at - 1] == '\n' || text[at - 1] == '\r')) ++count;
  }
  return count;
}

test::LoopbackServer::SaboteurMaker SessionLog::Saboteurs() {
  return [this] {
    const std::lock_guard lock(mutex_);
    all_.push_back(std::make_unique<Conversation>());
    const unsigned seed = seed_ * 2654435761U + static_cast<unsigned>(all_.size());
    return std::make_unique<RandomSaboteur>(seed, habits_, *all_.back());
  };
}

void RandomSaboteur::Note(Event::Kind kind, std::string text) {
  if (conversation_.events.size() >= kMostEvents) return;
  if (text.size() > kNotedBytes) text.resize(kNotedBytes);
  conversation_.events.push_back({kind, std::move(text)});
}

void RandomSaboteur::OnLine(const std::string& line) { Note(Event::Kind::kLine, line); }

Deviation RandomSaboteur::OnAnswer(const std::string& command, const std::string& bytes) {
  Deviation deviation;
  ++SessionLog::answers;
  if (random_.Below(1000) < habits_.rate) {
    ++SessionLog::deviating;
    deviation = command == "PASV" ? DeviatePassive(bytes) : Deviate(bytes);
  }
  NoteAnswer(deviation, bytes);
  return deviation;
}

void RandomSaboteur::NoteAnswer(const Deviation& deviation, const std::string& bytes) {
  if (deviation.flood > 0) Note(Event::Kind::kSent, deviation.reply);
  const std::string& answer = deviation.replaced ? deviation.reply : bytes;
  const bool lies = (deviation.flood > 0 && RepliesOf('2', deviation.reply) > 0) ||
                    (deviation.replaced && RepliesOf('2', answer) > RepliesOf('2', bytes));
  conversation_.lied = conversation_.lied || lies;
  if (!deviation.silent) Note(Event::Kind::kSent, answer);
}

Deviation RandomSaboteur::Deviate(const std::string& bytes) {
  Deviation deviation;
  switch (random_.Below(12)) {
    case 0:
      deviation.dropAfter =
          static_cast<long>(random_.Below(static_cast<unsigned>(bytes.size()) + 1));
      deviation.reset = random_.OneIn(2);
      break;
    case 1:
    case 2:
      Slow(&deviation, bytes.size());
      break;
    case 3:
      Flood(&deviation);
      break;
    default:
      Replace(&deviation, Changed(bytes));
      if (random_.OneIn(8)) Slow(&deviation, deviation.reply.size());
  }
  return deviation;
}

// The address that a client is sent to must stay on this machine and on this server: only what is
// around it changes, or it becomes one at which nobody is.
Deviation RandomSaboteur::DeviatePassive(const std::string& bytes) {
  Deviation deviation;
  const std::size_t open = std::min(bytes.find('('), bytes.size());
  const std::size_t close = std::min(bytes.find(')'), bytes.size());
  const std::string before = bytes.substr(0, open);
  const std::string address = open < close ? bytes.substr(open + 1, close - open - 1) : "";
  const std::string after = bytes.substr(close);
  switch (random_.Below(6)) {
    case 0:
      Replace(&deviation, before + "(" + random_.Of(kOddAddresses) + after);
      break;
    case 1:
      Replace(&deviation, Mutated(before, kTellingNoDigits) + "(" + address + after);
      break;
    case 2:
      Replace(&deviation, before + "(" + address + Mutated(after, kTellingNoDigits));
      break;
    case 3:
      Replace(&deviation, "227 " + address + "\r\n");
      break;
    case 4:
      Replace(&deviation, random_.Of(habits_.replies));
      break;
    default:
      Slow(&deviation, bytes.size());
  }
  return deviation;
}

void RandomSaboteur::Slow(Deviation* deviation, std::size_t size) {
  constexpr std::size_t kDribbled = 6;
  switch (random_.Below(8)) {
    case 0:
      deviation->silent = true;
      break;
    case 1:
      deviation->endless = true;
      break;
    case 2:
      deviation->delay = habits_.timeout + 10;
      break;
    case 3:
    case 4:
      deviation->dribble = 1;
      deviation->burst = static_cast<long>(size - std::min(size, kDribbled));
      break;
    default:
      deviation->delay = 1 + static_cast<int>(random_.Below(4));
  }
}

void RandomSaboteur::Flood(Deviation* deviation) {
  deviation->reply = random_.Of(habits_.floods);
  const bool large = random_.OneIn(24);
  deviation->flood =
      large ? habits_.mostFlood : std::min(habits_.mostFlood, 1L << random_.Below(18));
}

std::string RandomSaboteur::Changed(const std::string& bytes) {
  switch (random_.Below(10)) {
    case 0:
      return random_.Of(habits_.replies);
    case 1:
      return random_.Of(habits_.replies) + bytes;
    case 2:
      return bytes + random_.Of(habits_.replies);
    case 3:
      return Repeated(bytes);
    case 4:
      return Shuffled(bytes);
    case 5:
      return Noise() + (random_.OneIn(2) ? "\r\n" : "") + (random_.OneIn(2) ? bytes : "");
    default:
      return Mutated(bytes, kTelling);
  }
}

std::string RandomSaboteur::Mutated(std::string bytes, std::string_view letters) {
  for (unsigned edits = 1 + random_.Below(random_.OneIn(4) ? 24 : 3); edits > 0; --edits) {
    const char letter = letters == kTelling && random_.OneIn(3)
                            ? static_cast<char>(random_.Below(256))
                            : random_.Of(letters);
    const std::size_t at = random_.Below(static_cast<unsigned>(bytes.size()) + 1);
    const unsigned kind = bytes.empty() || at == bytes.size() ? 0 : random_.Below(4);
    if (kind == 0) {
      bytes.insert(at, 1 + (random_.OneIn(10) ? random_.Below(2000) : 0), letter);
    } else if (kind == 1) {
      bytes.erase(at, 1 + (random_.OneIn(10) ? random_.Below(100) : 0));
    } else {
      bytes[at] = letter;
    }
  }
  return bytes;
}

std::string RandomSaboteur::Repeated(const std::string& bytes) {
  std::string result = bytes;
  for (unsigned more = random_.OneIn(4) ? random_.Below(300) : 1 + random_.Below(3);
       more > 0 && result.size() < kLongestRepetition; --more) {
    result += bytes;
  }
  return result;
}

// Lines in another order, some of them gone, some doubled.
std::string RandomSaboteur::Shuffled(const std::string& bytes) {
  const std::vector<std::string> lines = LinesOf(bytes);
  if (lines.empty()) return {};
  std::string result;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    result += random_.OneIn(3) ? random_.Of(lines) : lines[i];
  }
  return result;
}

std::string RandomSaboteur::Noise() {
  std::string noise(1 + random_.Below(random_.OneIn(10) ? 40000 : 60), '\0');
  const bool same = random_.OneIn(3);
  const char filler = static_cast<char>(random_.Below(256));
  for (char& c : noise) c = same ? filler : static_cast<char>(random_.Below(256));
  return noise;
}

}  // namespace hostile
