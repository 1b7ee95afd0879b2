// Servers that answer as they like: every answer may be mutated, cut off, delayed, repeated or lost
// in a flood, all of it drawn from a seed.
#pragma once

#include "support/server.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace hostile {

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}

  unsigned Below(unsigned limit) {
    return std::uniform_int_distribution<unsigned>(0, limit - 1)(engine_);
  }
  bool OneIn(unsigned n) { return Below(n) == 0; }
  template <typename Items>
  const auto& Of(const Items& items) {
    return items[Below(static_cast<unsigned>(std::size(items)))];
  }

 private:
  std::mt19937 engine_;
};

// How the server of one session behaves.
struct Habits {
  unsigned rate = 0;                 // of a thousand answers so many deviate
  std::vector<std::string> replies;  // what this protocol's servers say, and what they should not
  std::vector<std::string> floods;   // what is sent again and again
  long mostFlood = 0;                // bytes; the flood of one answer
  // Milliseconds. A server that is late is so by more than the client's time-out.
  int timeout = 0;
};

// One thing that passed over a connection, as the server saw it.
struct Event {
  enum class Kind { kLine, kSent } kind;
  std::string text;  // of long ones the beginning
};

struct Conversation {
  std::vector<Event> events;
  // A deviation put a positive reply, "2..", where the proper answer had none.
  bool lied = false;
};

// What happened in one session, in which a client may have connected several times.
class SessionLog {
 public:
  SessionLog(unsigned seed, Habits habits) : seed_(seed), habits_(std::move(habits)) {}

  // Saboteurs that write here. The log must outlive the server.
  test::LoopbackServer::SaboteurMaker Saboteurs();
  // For when the server has stopped.
  const std::vector<std::unique_ptr<Conversation>>& Conversations() const { return all_; }

  static std::atomic<long> answers;
  static std::atomic<long> deviating;

 private:
  friend class RandomSaboteur;

  unsigned seed_;
  Habits habits_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Conversation>> all_;
};

class RandomSaboteur : public test::Saboteur {
 public:
  RandomSaboteur(unsigned seed, const Habits& habits, Conversation& conversation)
      : random_(seed), habits_(habits), conversation_(conversation) {}

  void OnLine(const std::string& line) override;
  test::Deviation OnAnswer(const std::string& command, const std::string& bytes) override;

 private:
  test::Deviation Deviate(const std::string& bytes);
  test::Deviation DeviatePassive(const std::string& bytes);
  void Slow(test::Deviation* deviation, std::size_t size);
  void Flood(test::Deviation* deviation);
  std::string Changed(const std::string& bytes);
  std::string Mutated(std::string bytes, std::string_view letters);
  std::string Repeated(const std::string& bytes);
  std::string Shuffled(const std::string& bytes);
  std::string Noise();
  void Note(Event::Kind kind, std::string text);
  void NoteAnswer(const test::Deviation& deviation, const std::string& bytes);

  Random random_;
  const Habits& habits_;
  Conversation& conversation_;
};

// Lines of a text that begin with the digit.
int RepliesOf(char digit, std::string_view text);

}  // namespace hostile
