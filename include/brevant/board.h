// The board: items, the containers that hold them, and the exported functions over both.
#pragma once

#include <brevant/store.h>

#include <memory>

namespace brevant {
class TPropertyCache;
class TListIndex;
}  // namespace brevant

// One board item (message, article, link or answer), kept as a sub-storage of its container.
class BREVANT_API TMail {
 public:
  TMail();
  TMail(const TMail&) = delete;
  TMail& operator=(const TMail&) = delete;

  virtual const char* String(const char* key) const;
  virtual ~TMail();
  virtual int SetString(const char* key, const char* value);
  virtual int SetNumber(const char* key, LONG value);
  virtual const char* DefaultString(const char* key) const;
  virtual LONG DefaultNumber(const char* key) const;

  int Open(TStorage& parent, const char* name, int access, int create, int share);
  int OpenTemporary(int extra);
  int Close();
  LONG Number(const char* key) const;
  int String(const char* key, const char* value);
  int Number(const char* key, LONG value);
  int Copy(TMail& source);
  int SetTime(const TTime& time);
  int ContentTruncate();

  int ReadNextListItem(TStream& stream, char* key, int keySize, char* value, int valueSize,
                       int recordSize);
  int ReadListItem(TStream& stream, const char* key, char* value, int valueSize, int recordSize);
  int WriteListItem(TStream& stream, const char* key, const char* value, int valueLength,
                    int recordSize);
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

  // The item's storage, whose three times are the item's times.
  TStorage& Storage() { return storage_; }
  const TStorage& Storage() const { return storage_; }
  // The item's body: raw bytes, read and written with the stream operations.
  TStream& Content() { return content_; }
  bool IsOpen() const { return storage_.IsOpen(); }

 private:
  TStorage storage_;
  mutable TStream info_;
  TStream list_;
  int listRecordSize_ = 0;
  TStream content_;
  std::unique_ptr<brevant::TPropertyCache> cache_;
};

// A container of numbered messages: a forum file, or a sub-forum inside another forum. Its
// subclasses serve the resource lists, link lists and survey questions.
class BREVANT_API TForum {
 public:
  TForum();
  TForum(const TForum&) = delete;
  TForum& operator=(const TForum&) = delete;

  virtual const char* String(const char* key) const;
  virtual ~TForum();
  virtual DWORD InsertMessage(TMail& message);
  virtual const char* Extension() const;
  virtual int SetString(const char* key, const char* value);
  virtual int SetNumber(const char* key, LONG value);
  virtual const char* DefaultString(const char* key) const;
  virtual LONG DefaultNumber(const char* key) const;

  int Open(const char* name, const char* directory, int access, int create, int share);
  int Open(TStorage& parent, const char* name, int access, int create, int share);
  int OpenTemporary(int extra);
  int Close();
  int Copy(TForum& source);
  LONG Number(const char* key) const;
  int String(const char* key, const char* value);
  int Number(const char* key, LONG value);

  int ReadNextListItem(TStream& stream, char* key, int keySize, char* value, int valueSize,
                       int recordSize);
  int ReadListItem(TStream& stream, const char* key, char* value, int valueSize, int recordSize);
  int WriteListItem(TStream& stream, const char* key, const char* value, int valueLength,
                    int recordSize);
  int ChangeListItem(TStream& stream, const char* pattern, const char* newKey, const char* newValue,
                     int valueLength, int recordSize);
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

  int OpenMessage(DWORD index, TMail* message);
  int RemoveMessage(DWORD index);
  DWORD GetNextMessageIndex(DWORD index);
  DWORD GetPrevMessageIndex(DWORD index);
  int GetMessageTimes(DWORD index, TTime* modified, TTime* created, TTime* accessed);
  int OpenAnnouncement(TMail* message);
  int StartMessageSearch();
  int ReadNextMessageInfo(DWORD* index, DWORD* linkId, char* subject, int subjectSize);
  int EndMessageSearch();
  int WriteMessageInfo(DWORD index, DWORD linkId, const char* subject);
  int ChangeMessageInfo(DWORD index, DWORD linkId, const char* subject);
  int RemoveMessageInfo(DWORD index);

  int OpenSubForum(const char* name, TForum* forum);
  int InsertSubForum(const char* name, TForum& source);
  int RemoveSubForum(const char* name);

  TStorage& Storage() { return storage_; }
  const TStorage& Storage() const { return storage_; }
  bool IsOpen() const { return storage_.IsOpen(); }
  // The message list in record order, built on first need and kept until the list is written.
  // The reference holds until the next operation that changes the list.
  const brevant::TListIndex& MessageIndex();

 private:
  TStorage storage_;
  mutable TStream info_;
  TStream list_;
  int listRecordSize_ = 0;
  TStream messageList_;
  std::unique_ptr<brevant::TPropertyCache> cache_;
};

// Opaque to hosts; made and freed by the Start... and End... functions.
class TForumSearcher;
class TMessageSearcher;
class TListItemSearcher;

// One entry of a message search; at the end subject is null and index 0.
struct TMessageSearchResult {
  const char* subject;
  DWORD index;
  DWORD linkId;
};

// One entry of a mailing-list search; both null at the end.
struct TMailingListSearchResult {
  const char* name;
  const char* key;
};

extern "C" {
BREVANT_API TForum* OpenForum(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(OpenForum);
BREVANT_API TForum* CreateForum(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(CreateForum);
BREVANT_API void CloseForum(TForum* forum) BREVANT_EXPORTED_AS(CloseForum);
BREVANT_API int RenameForum(const char* oldName, const char* newName, const char* directory)
    BREVANT_EXPORTED_AS(RenameForum);
BREVANT_API int DeleteForum(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(DeleteForum);
BREVANT_API TForumSearcher* StartForumSearch(const char* directory)
    BREVANT_EXPORTED_AS(StartForumSearch);
BREVANT_API const char* FindFirstForum(TForumSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstForum);
BREVANT_API const char* FindNextForum(TForumSearcher* searcher) BREVANT_EXPORTED_AS(FindNextForum);
BREVANT_API void EndForumSearch(TForumSearcher* searcher) BREVANT_EXPORTED_AS(EndForumSearch);

BREVANT_API TMail* OpenMessage(DWORD index, TForum* forum) BREVANT_EXPORTED_AS(OpenMessage);
BREVANT_API DWORD InsertMessage(TMail* message, TForum* forum) BREVANT_EXPORTED_AS(InsertMessage);
BREVANT_API int RenameMessage(TMail* message, TForum* forum, const char* subject)
    BREVANT_EXPORTED_AS(RenameMessage);
BREVANT_API int RelinkMessage(TMail* message, TForum* forum, DWORD linkId)
    BREVANT_EXPORTED_AS(RelinkMessage);
BREVANT_API void CloseMessage(TMail* message) BREVANT_EXPORTED_AS(CloseMessage);
BREVANT_API int RemoveMessage(DWORD index, TForum* forum) BREVANT_EXPORTED_AS(RemoveMessage);
BREVANT_API TMail* OpenAnnouncement(TForum* forum) BREVANT_EXPORTED_AS(OpenAnnouncement);
BREVANT_API TMessageSearcher* StartMessageSearch(TForum* forum)
    BREVANT_EXPORTED_AS(StartMessageSearch);
BREVANT_API TMessageSearchResult FindFirstMessage(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstMessage);
BREVANT_API TMessageSearchResult FindNextMessage(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextMessage);
BREVANT_API void EndMessageSearch(TMessageSearcher* searcher) BREVANT_EXPORTED_AS(EndMessageSearch);

BREVANT_API const char* GetMailingListName(const char* key, TForum* forum)
    BREVANT_EXPORTED_AS(GetMailingListName);
BREVANT_API int AddMailingList(const char* key, const char* name, TForum* forum)
    BREVANT_EXPORTED_AS(AddMailingList);
BREVANT_API int RenameMailingList(const char* key, const char* newName, TForum* forum)
    BREVANT_EXPORTED_AS(RenameMailingList);
BREVANT_API int RemoveMailingList(const char* key, TForum* forum)
    BREVANT_EXPORTED_AS(RemoveMailingList);
BREVANT_API int FindMailingList(const char* key, TForum* forum)
    BREVANT_EXPORTED_AS(FindMailingList);
BREVANT_API TListItemSearcher* StartMailingListSearch(TForum* forum)
    BREVANT_EXPORTED_AS(StartMailingListSearch);
BREVANT_API TMailingListSearchResult FindFirstMailingList(TListItemSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstMailingList);
BREVANT_API TMailingListSearchResult FindNextMailingList(TListItemSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextMailingList);
BREVANT_API void EndMailingListSearch(TListItemSearcher* searcher)
    BREVANT_EXPORTED_AS(EndMailingListSearch);
}
