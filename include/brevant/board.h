// The board: items, the containers that hold them, and the exported functions over both.
#pragma once

#include <brevant/store.h>

#include <cstddef>
#include <memory>
#include <optional>

namespace brevant {
class TPropertyCache;
class TListIndex;
}  // namespace brevant

// One board item (message, announcement, article, link or answer), kept as a sub-storage of its
// container with the streams "INFO" (its properties) and "CONTENT" (its body).
//
// Properties are named texts and numbers; names are compared ignoring case. A property is looked
// for in the object's cache, then in the "INFO" records, then among the defaults. Names and values
// together have room for 126 bytes in a record; what is longer is cut when it is written.
// Operations give 1 for success and 0 for failure unless they say otherwise.
class BREVANT_API TMail {
 public:
  // Nothing open.
  TMail();
  TMail(const TMail&) = delete;
  TMail& operator=(const TMail&) = delete;

  // The text of a property; never null. It holds until the property is set again or the item is
  // closed; that of a default "From Name" or "From Email Address" until the thread asks for the
  // same one of any item again.
  virtual const char* String(const char* key) const;
  // Closes.
  virtual ~TMail();
  // Put a copy of value into the cache only: it is lost with Close. The entry's index, or -1.
  virtual int SetString(const char* key, const char* value);
  virtual int SetNumber(const char* key, LONG value);
  // What a property without a value has: "From Name" and "From Email Address" from "FROM",
  // "Charset" iso-8859-1, "Document Type" text/plain; "Creation time" and "Last Modify Time" from
  // the item's times, in seconds since 1970 (low 32 bits); all else empty or 0.
  virtual const char* DefaultString(const char* key) const;
  virtual LONG DefaultNumber(const char* key) const;

  // Opens the item name of a container's storage, or creates it anew (create 4096), and gives it
  // the property "Name" for as long as it is open. After a failure Close what did open.
  int Open(TStorage& parent, const char* name, int access, int create, int share);
  // A new item in a temporary file; extra is 0x04000000 to have it vanish with Close. Its times are
  // zero until SetTime.
  int OpenTemporary(int extra);
  // Empties the caches, closes the item and applies the times given to SetTime. The list, if one is
  // open, stays open. 0 when nothing was open.
  int Close();
  // The number of a property; a text that begins with no number is 0, numbers wrap modulo 2^32.
  LONG Number(const char* key) const;
  // Set a property in the cache and record it. -1 when the cache refused it.
  int String(const char* key, const char* value);
  int Number(const char* key, LONG value);
  // Replaces what this item holds by what source holds, and takes over its creation and
  // modification time, those that are not zero, at the next Close. The caches stay.
  int Copy(TMail& source);
  // Whether String(key) and every Number give what is recorded now: false when a default would
  // stand there only because memory has run out or the records cannot be read.
  bool CanTell(const char* key);
  // Sets modification and creation time, to be applied by Close. Always 1.
  int SetTime(const TTime& time);
  // Cuts the body at its current position. Always 1.
  int ContentTruncate();

  // Records of a fixed size in any open stream, recordSize bytes each (at most 512): key, zero
  // byte, value, zeros. A key matches when it is equal ignoring case. Texts that are read are cut
  // to their buffer and terminated; a null buffer is skipped. A valueLength of -1 means the length
  // of value as a zero-terminated text.
  // Reads the record at the stream's position; 0 and empty texts when no whole one is left.
  int ReadNextListItem(TStream& stream, char* key, int keySize, char* value, int valueSize,
                       int recordSize);
  // The value of the first record with this key; 0 and an empty text when there is none.
  int ReadListItem(TStream& stream, const char* key, char* value, int valueSize, int recordSize);
  // Overwrites the first record with this key or appends one.
  int WriteListItem(TStream& stream, const char* key, const char* value, int valueLength,
                    int recordSize);
  // Shifts the records after the first one with this key one slot forward; the stream keeps its
  // length, so the last record is there twice. The records are always looked for and read in the
  // item's own "INFO" stream from its current position; only the writes go to stream. Gives the
  // number of bytes of the last, incomplete read.
  int RemoveListItem(TStream& stream, const char* key, int recordSize);
  // The same on the item's "INFO" records (128 bytes), past the caches.
  int ReadInfo(const char* key, char* value, int valueSize);
  int WriteInfo(const char* key, const char* value, int valueLength);
  int RemoveInfo(const char* key);
  // The item's one list: opens an existing stream or creates an empty one, replacing one of that
  // name. 0, and nothing is touched, while another list is open.
  int OpenList(const char* name, int recordSize);
  int CreateList(const char* name, int recordSize);
  // Always 1.
  int CloseList();
  // The record operations on the open list.
  int ReadNextListItem(char* key, int keySize, char* value, int valueSize);
  int ReadListItem(const char* key, char* value, int valueSize);
  int WriteListItem(const char* key, const char* value, int valueLength);
  int RemoveListItem(const char* key);

  // The item's storage, whose three times are the item's times; still owned by the item.
  TStorage& Storage() { return storage_; }
  const TStorage& Storage() const { return storage_; }
  // The item's body: raw bytes, read and written with the stream operations.
  TStream& Content() { return content_; }
  bool IsOpen() const { return storage_.IsOpen(); }

 private:
  brevant::TPropertyCache& Properties() const;
  int OpenStreams(int create);

  TStorage storage_;
  mutable TStream info_;
  TStream list_;
  int listRecordSize_ = 0;
  TStream content_;
  // Both caches, and a copy of the info records.
  mutable std::unique_ptr<brevant::TPropertyCache> cache_;
};

// A container of numbered messages: a forum file, or a sub-forum inside another forum. Its
// subclasses serve the resource lists, link lists and survey questions.
//
// Properties work as those of TMail. "First Message Index" (default 1), "Last Message Index" (0),
// "Message Count" (0) and "Max Message Count" (16) describe the messages, which are numbered from 1
// and never renumbered. Operations give 1 for success and 0 for failure unless they say otherwise.
class BREVANT_API TForum {
 public:
  // Nothing open.
  TForum();
  TForum(const TForum&) = delete;
  TForum& operator=(const TForum&) = delete;

  // As those of TMail. The defaults are the numbers above, "Version" 1, "Creation time" and "Last
  // Modify Time" from the storage's times, and "HTML Filename", the forum's "HTML Filename Prefix"
  // and "index.htm" (it holds until the thread asks any forum for it again).
  virtual const char* String(const char* key) const;
  // Closes.
  virtual ~TForum();
  // Adds a copy of message as the newest one, first removing the oldest when the forum is full;
  // gives its index, 0 on failure (also behind the last number there is). The message stays the
  // caller's, and open.
  virtual DWORD InsertMessage(TMail& message);
  // The extension of the class's files, with its point.
  virtual const char* Extension() const;
  virtual int SetString(const char* key, const char* value);
  virtual int SetNumber(const char* key, LONG value);
  virtual const char* DefaultString(const char* key) const;
  virtual LONG DefaultNumber(const char* key) const;

  // Opens the file directory + name + extension (the directory ends with a separator), or creates
  // it, replacing an existing one (create 4096). A forum of an older layout is brought up to date.
  // 0 when its message list could not be opened; what did open stays so until Close.
  int Open(const char* name, const char* directory, int access, int create, int share);
  // The same with the sub-storage name of parent.
  int Open(TStorage& parent, const char* name, int access, int create, int share);
  // A new forum in a temporary file; extra as for TMail.
  int OpenTemporary(int extra);
  // Empties the caches and closes everything, the open list too. 0 when nothing was open.
  int Close();
  // Copies what source holds into this forum; elements that only this forum has stay.
  int Copy(TForum& source);
  LONG Number(const char* key) const;
  int String(const char* key, const char* value);
  int Number(const char* key, LONG value);

  // Records as those of TMail, but a key that ends in "*" matches every key with what stands
  // before it as prefix (writing such a key stores it as it is), and removal shortens the stream.
  int ReadNextListItem(TStream& stream, char* key, int keySize, char* value, int valueSize,
                       int recordSize);
  int ReadListItem(TStream& stream, const char* key, char* value, int valueSize, int recordSize);
  int WriteListItem(TStream& stream, const char* key, const char* value, int valueLength,
                    int recordSize);
  // Replaces the first record that matches pattern by newKey and newValue, or appends them.
  int ChangeListItem(TStream& stream, const char* pattern, const char* newKey, const char* newValue,
                     int valueLength, int recordSize);
  // 1 when there was a record to remove.
  int RemoveListItem(TStream& stream, const char* key, int recordSize);
  int ReadInfo(const char* key, char* value, int valueSize);
  int WriteInfo(const char* key, const char* value, int valueLength);
  int RemoveInfo(const char* key);
  int OpenList(const char* name, int recordSize);
  int CreateList(const char* name, int recordSize);
  int CloseList();
  int ReadNextListItem(char* key, int keySize, char* value, int valueSize);
  int ReadListItem(const char* key, char* value, int valueSize);
  int WriteListItem(const char* key, const char* value, int valueLength);
  int RemoveListItem(const char* key);

  // Opens a message into message, which the caller owns and closes before the forum.
  int OpenMessage(DWORD index, TMail* message);
  // Removes a message; 1 when its element was deleted. First and last index follow the message
  // list even when there was no such element; nothing changes when the list cannot be read.
  int RemoveMessage(DWORD index);
  // The neighbours of a message in the message list; all bits set when there is none or the
  // message is not listed.
  DWORD GetNextMessageIndex(DWORD index);
  DWORD GetPrevMessageIndex(DWORD index);
  // The times of a message that is not open, into the pointers that are not null.
  int GetMessageTimes(DWORD index, TTime* modified, TTime* created, TTime* accessed);
  // Opens the forum's announcement, making it when there is none.
  int OpenAnnouncement(TMail* message);
  // Walk through the message list, oldest message first, with the list's own position, which
  // insertions and removals move. Subjects are cut to subjectSize; at the end index is 0, result 0.
  int StartMessageSearch();
  int ReadNextMessageInfo(DWORD* index, DWORD* linkId, char* subject, int subjectSize);
  int EndMessageSearch();
  // Change the list alone: overwrite the record of this message and link number or append one;
  // replace the message's record whatever its link number, or append; remove it.
  int WriteMessageInfo(DWORD index, DWORD linkId, const char* subject);
  int ChangeMessageInfo(DWORD index, DWORD linkId, const char* subject);
  int RemoveMessageInfo(DWORD index);

  // Sub-forums: open one into forum; make one named name (at most 31 characters) as a copy of
  // source, replacing one of that name; delete one.
  int OpenSubForum(const char* name, TForum* forum);
  int InsertSubForum(const char* name, TForum& source);
  int RemoveSubForum(const char* name);

  // The forum's storage, still owned by the forum. Commit it after changes and check the result.
  TStorage& Storage() { return storage_; }
  const TStorage& Storage() const { return storage_; }
  bool IsOpen() const { return storage_.IsOpen(); }
  // The message list in record order, read on first need and kept in step with this object's
  // operations; empty when the list cannot be read. The reference holds until the next operation
  // that changes the list.
  const brevant::TListIndex& MessageIndex();

 protected:
  // Makes the element index anew, removes the oldest message when there are "Max Message Count" or
  // more, copies message into the element and writes its record. False when one of these failed.
  bool PlaceMessage(DWORD index, TMail& message);
  // Whether the recorded properties can be told from those that are not there. Without that nothing
  // may be done by the numbers of the messages.
  bool KnowsProperties();
  // The message list in memory, or null when the list cannot be read; throws without memory.
  brevant::TListIndex* LoadedIndex();
  // Marks a message as changed now (Greenwich time): the links to its neighbours are others.
  void TouchMessage(DWORD index);

 private:
  brevant::TPropertyCache& Properties() const;
  int OpenStreams(const char* name, int create);
  // Makes an empty element, copies the message into it and puts it in the place of number index.
  bool PlaceElement(DWORD index, TMail& message);
  int Upgrade1To3();
  // False when the element inserted was removed itself, as in a forum for no messages at all.
  bool TrimForInsertion(DWORD inserted);
  void ForgetCopies();
  void ForgetCopyOf(const TStream& stream);
  bool IsBehindList(DWORD index);
  int PutMessageRecord(std::optional<std::size_t> position, DWORD index, DWORD linkId,
                       const char* subject);
  template <typename Change>
  void FollowWrite(Change&& change);

  TStorage storage_;
  mutable TStream info_;
  TStream list_;
  int listRecordSize_ = 0;
  TStream messageList_;
  // Both caches, and a copy of the info records.
  mutable std::unique_ptr<brevant::TPropertyCache> cache_;
  std::unique_ptr<brevant::TListIndex> index_;
};

// Opaque to hosts; made and freed by the Start... and End... functions.
class TForumSearcher;
class TMessageSearcher;
class TListItemSearcher;

// One entry of a message search; at the end subject is null and index 0. The subject holds until
// the search moves on.
struct TMessageSearchResult {
  const char* subject;
  DWORD index;
  DWORD linkId;
};

// One entry of a mailing-list search; both null at the end. They hold until the search moves on.
struct TMailingListSearchResult {
  const char* name;
  const char* key;
};

// Functions that give a pointer give null on failure; the others 1 for success and 0 for failure
// unless they say otherwise. Null arguments make a function fail unless it says otherwise. Objects
// are freed by the matching Close or End function, which ignores null.
extern "C" {
// Forum files are directory + name + ".mwd"; the directory ends with a path separator.
// Open an existing forum, or make an empty one in place of one of that name. It is open exclusively
// until CloseForum.
BREVANT_API TForum* OpenForum(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(OpenForum);
BREVANT_API TForum* CreateForum(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(CreateForum);
BREVANT_API void CloseForum(TForum* forum) BREVANT_EXPORTED_AS(CloseForum);
// Rename or delete a forum's file, which must not be open; renaming onto an existing one fails.
BREVANT_API int RenameForum(const char* oldName, const char* newName, const char* directory)
    BREVANT_EXPORTED_AS(RenameForum);
BREVANT_API int DeleteForum(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(DeleteForum);
// Walk the forums of a directory, with or without a separator at its end. The finds give a name
// without extension, which holds until the next find, and null at the end; FindFirstForum starts
// anew.
BREVANT_API TForumSearcher* StartForumSearch(const char* directory)
    BREVANT_EXPORTED_AS(StartForumSearch);
BREVANT_API const char* FindFirstForum(TForumSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstForum);
BREVANT_API const char* FindNextForum(TForumSearcher* searcher) BREVANT_EXPORTED_AS(FindNextForum);
BREVANT_API void EndForumSearch(TForumSearcher* searcher) BREVANT_EXPORTED_AS(EndForumSearch);

// Opens a message of forum; with a null forum makes a new temporary message with the current local
// time as its creation and modification time. Close messages before their forum.
BREVANT_API TMail* OpenMessage(DWORD index, TForum* forum) BREVANT_EXPORTED_AS(OpenMessage);
// Adds a copy of message to forum and gives its index, 0 on failure. The message stays open.
BREVANT_API DWORD InsertMessage(TMail* message, TForum* forum) BREVANT_EXPORTED_AS(InsertMessage);
// Give an opened message of forum another subject, or another message that it answers, in the
// message list and in its own properties.
BREVANT_API int RenameMessage(TMail* message, TForum* forum, const char* subject)
    BREVANT_EXPORTED_AS(RenameMessage);
BREVANT_API int RelinkMessage(TMail* message, TForum* forum, DWORD linkId)
    BREVANT_EXPORTED_AS(RelinkMessage);
BREVANT_API void CloseMessage(TMail* message) BREVANT_EXPORTED_AS(CloseMessage);
// Removes a message, which must not be open.
BREVANT_API int RemoveMessage(DWORD index, TForum* forum) BREVANT_EXPORTED_AS(RemoveMessage);
// Opens the forum's announcement, making an empty one when there is none; CloseMessage frees it.
BREVANT_API TMail* OpenAnnouncement(TForum* forum) BREVANT_EXPORTED_AS(OpenAnnouncement);
// Walk the messages of forum, oldest first. A forum has one walk at a time; changing its messages
// ends it, but for renaming or relinking the message at hand.
BREVANT_API TMessageSearcher* StartMessageSearch(TForum* forum)
    BREVANT_EXPORTED_AS(StartMessageSearch);
BREVANT_API TMessageSearchResult FindFirstMessage(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstMessage);
BREVANT_API TMessageSearchResult FindNextMessage(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextMessage);
BREVANT_API void EndMessageSearch(TMessageSearcher* searcher) BREVANT_EXPORTED_AS(EndMessageSearch);

// A forum's mailing lists: a name for every key, together at most 254 bytes. All need the forum's
// one list, so they fail while another of its lists, or a mailing-list search, is open.
// The name of a list, cut to 127 bytes, empty when there is none; it holds until the thread's next
// call of this function.
BREVANT_API const char* GetMailingListName(const char* key, TForum* forum)
    BREVANT_EXPORTED_AS(GetMailingListName);
// Adds a list or overwrites the name of an existing one.
BREVANT_API int AddMailingList(const char* key, const char* name, TForum* forum)
    BREVANT_EXPORTED_AS(AddMailingList);
// Adds a list to those of the forum when there is none with this key; one that exists keeps its
// name, and the result is 0.
BREVANT_API int RenameMailingList(const char* key, const char* newName, TForum* forum)
    BREVANT_EXPORTED_AS(RenameMailingList);
// 1 when the forum has lists, whether or not this one was among them.
BREVANT_API int RemoveMailingList(const char* key, TForum* forum)
    BREVANT_EXPORTED_AS(RemoveMailingList);
// 1 when there is a list with this key.
BREVANT_API int FindMailingList(const char* key, TForum* forum)
    BREVANT_EXPORTED_AS(FindMailingList);
// Walk the lists in the order in which they were added. End the walk before you close the forum.
BREVANT_API TListItemSearcher* StartMailingListSearch(TForum* forum)
    BREVANT_EXPORTED_AS(StartMailingListSearch);
BREVANT_API TMailingListSearchResult FindFirstMailingList(TListItemSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstMailingList);
BREVANT_API TMailingListSearchResult FindNextMailingList(TListItemSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextMailingList);
BREVANT_API void EndMailingListSearch(TListItemSearcher* searcher)
    BREVANT_EXPORTED_AS(EndMailingListSearch);
}
