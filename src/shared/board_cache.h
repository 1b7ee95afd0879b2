// The board files that one run of a task has open. They open exclusively, so whatever a run needs
// twice must be the same object: tasks open containers through this cache only.
#pragma once

#include <brevant/board.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace brevant {

// The kinds of board files, each with an extension of its own.
enum class TBoardKind { kForum, kContributor, kLinkList, kQuestion };

class TBoardCache {
 public:
  struct TLimits {
    std::size_t openFiles = 256;
    DWORD uncommittedBytes = 4u * 1024 * 1024;
  };

  // Told of every commit of a changed file: whether all that was written since its last commit is
  // safe now, or lost. It must not call the cache.
  using TCommitObserver =
      std::function<void(TBoardKind kind, const std::string& name, bool committed)>;

 private:
  struct TEntry;

 public:
  // Keeps one open container, and the items opened in it, valid. Copies keep it too. Close every
  // item of the container before its last handle goes; handles must not outlive the cache.
  class THandle {
   public:
    THandle() = default;
    THandle(const THandle& other);
    THandle(THandle&& other) noexcept;
    THandle& operator=(THandle other) noexcept;
    ~THandle() { Release(); }

    // Whether a container is held; an empty handle gives null.
    explicit operator bool() const { return entry_ != nullptr; }
    TForum* Get() const;
    TForum* operator->() const { return Get(); }
    TForum& operator*() const { return *Get(); }
    // Which file this is: the kind, and the name as it was first asked for.
    TBoardKind Kind() const;
    const std::string& Name() const;
    // Lets go. A file with more than TLimits::uncommittedBytes written and no further handle is
    // committed now. When memory runs out on the way the cache is no longer Reliable.
    void Release() noexcept;

   private:
    friend class TBoardCache;
    THandle(TBoardCache* cache, std::shared_ptr<TEntry> entry);
    TBoardCache* cache_ = nullptr;
    std::shared_ptr<TEntry> entry_;
  };

  // directory: the data directory with its final separator, as the setting gives it.
  explicit TBoardCache(std::string directory);
  TBoardCache(std::string directory, const TLimits& limits);
  // Commits and closes as CloseAll does.
  ~TBoardCache();
  TBoardCache(const TBoardCache&) = delete;
  TBoardCache& operator=(const TBoardCache&) = delete;

  void SetCommitObserver(TCommitObserver observer) { observer_ = std::move(observer); }
  // Replaces TStorage::Commit as the way a file is committed (1 or 0), for example to see what
  // follows from a failure.
  using TCommit = std::function<int(TStorage& storage)>;
  void SetCommit(TCommit commit) { commit_ = std::move(commit); }

  // The names (without extension) of all files of a kind in the order of the board's searches, that
  // is by name. The directory is read at the first call; the list then holds for the cache's life.
  const std::vector<std::string>& Names(TBoardKind kind);
  // The name in Names(kind) that equals name ignoring letter case, or null.
  const std::string* Find(TBoardKind kind, const std::string& name);

  // The open container of that name, ignoring letter case; opened for reading and writing when it
  // is not open yet. Empty when it cannot be opened, was given up, or openFiles files are in use.
  // Opening one more file than openFiles commits and closes the one that is longest unused.
  THandle Open(TBoardKind kind, const std::string& name);

  // Commits one file that has changes; 1 when it has none or they are safe now, else 0 and the file
  // is given up. Call it with no item of the file open.
  int Commit(const THandle& handle);
  // Commits every changed file (in the order of their opening) and closes all that no handle
  // holds; files still held close with their last handle. 1 when everything was safe, in this call
  // and in every earlier commit.
  int CloseAll();

  // A file whose commit failed is given up: what was written since its last commit is dropped and
  // Open refuses it from then on.
  bool GivenUp(TBoardKind kind, const std::string& name) const;
  bool AnyGivenUp() const { return !givenUp_.empty() || !reliable_; }
  // False from the moment on that a commit or its observer ended with an exception: what is safe
  // and what is lost is then not fully known, and nothing may rely on it.
  bool Reliable() const { return reliable_; }
  // Files open at the moment.
  std::size_t OpenCount() const { return entries_.size(); }

 private:
  using TKey = std::pair<TBoardKind, std::string>;  // the name in lower case

  static TKey Key(TBoardKind kind, const std::string& name);
  int CommitEntry(TEntry& entry);
  int Close(std::shared_ptr<TEntry> entry);
  bool MakeRoom();
  void Unpin(const std::shared_ptr<TEntry>& entry) noexcept;

  std::string directory_;
  TLimits limits_;
  TCommitObserver observer_;
  TCommit commit_ = [](TStorage& storage) { return storage.Commit(); };
  std::vector<std::shared_ptr<TEntry>> entries_;  // longest unused first
  std::vector<TKey> givenUp_;
  bool reliable_ = true;
  std::map<TBoardKind, std::vector<std::string>> names_;
};

}  // namespace brevant
