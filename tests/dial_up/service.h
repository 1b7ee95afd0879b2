// The test double of the Remote Access Service's library: what a test tells it and asks it.
//
// The double is a library of its own with the service's name and its six functions; a test loads it
// by its path, whereupon loading by name gives the same one, and reaches this desk through the
// function "ServiceDesk". Its structures are its own, so that a wrong layout on the other side
// shows.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ras_double {

inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kBufferTooSmall = 603;
inline constexpr std::uint32_t kInvalidSize = 632;
inline constexpr std::uint32_t kPortIsOpen = 602;
inline constexpr std::uint32_t kLineBusy = 676;
inline constexpr std::uint32_t kWrongPassword = 691;
inline constexpr std::uint32_t kNoSuchProtocol = 731;
inline constexpr std::uint32_t kConnected = 8192;
inline constexpr std::uint32_t kDisconnected = 8193;

// A step of a dial. The next one comes when the state has been asked for.
struct Step {
  std::uint32_t state = 0;
  std::uint32_t error = 0;
};

struct ActiveConnection {
  std::string entryName;
  bool hasIpProjection = true;
};

// What RasDialA was given.
struct Dialled {
  std::uint32_t size = 0;
  std::string entryName, phoneNumber, callbackNumber, userName, password, domain;
  bool hasExtensions = false;
  bool hasPhoneBook = false;
  bool handleWasNull = false;
  std::uint32_t notifierType = 0;
};

class Desk {
 public:
  // Forgets everything. To be called when no dial is under way.
  virtual void Reset() = 0;

  // How the next dials go: the steps, or an error of RasDialA itself.
  virtual void SetSteps(std::vector<Step> steps) = 0;
  virtual void SetDialResult(std::uint32_t result) = 0;
  // The next queries of a connection's state answer these, then again what is.
  virtual void SetQueryResults(std::vector<std::uint32_t> results) = 0;
  // So many queries after a hang-up still find the connection.
  virtual void SetQueriesUntilGone(int count) = 0;
  // The connection is gone, as when somebody else hung it up.
  virtual void DropConnections() = 0;
  // Connections that others dialled.
  virtual void SetActive(std::vector<ActiveConnection> active) = 0;
  virtual void SetEntries(std::vector<std::string> entries) = 0;
  // What the listing functions answer instead of listing; 0 for nothing.
  virtual void SetListResult(std::uint32_t result) = 0;

  // Called on the dialling thread before each report.
  virtual void SetBeforeReport(std::function<void(const Step&)> hook) = 0;
  // Reports a state through the notifier of the last dial, on a thread of its own, and waits for
  // it.
  virtual void Report(std::uint32_t state) = 0;
  // The same again and again, with nothing that would hold the threads up for each other, until
  // told to stop.
  virtual void StartReporting(std::uint32_t state) = 0;
  virtual void StopReporting() = 0;
  // Waits until the threads of all dials have ended.
  virtual void WaitForThreads() = 0;

  virtual std::vector<Dialled> Dials() const = 0;
  // The calls in their order, "RasDialA" and so on; equal ones in a row count once.
  virtual std::vector<std::string> Calls() const = 0;
  // The rooms, in bytes, in which entries were asked for.
  virtual std::vector<std::uint32_t> EntryRooms() const = 0;
  // The handle of the n-th active connection of SetActive.
  virtual std::uintptr_t ActiveHandle(std::size_t number) const = 0;

 protected:
  ~Desk() = default;
};

}  // namespace ras_double
