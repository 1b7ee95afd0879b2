// Times, storages and streams.
#include "calls/board.h"
#include "calls/row.h"
#include "platform/win32.h"

#include <memory>

namespace faults {

namespace {

// --- Times ---------------------------------------------------------------------------------------

void Times(Trial& run) {
  char text[64];
  const bool done = run.Call([&] {
    TTime time(1998, 5, 1, 12, 7, 3);
    bool same = time.Year() == 1998 && time.Month() == 5 && time.Day() == 1 &&
                time.DayOfWeek() == 5 && time.Hour() == 12 && time.Minute() == 7 &&
                time.Second() == 3 && time.Milliseconds() == 0 && time.Parts().wYear == 1998;
    time.SetYear(1999);
    time.SetMonth(6);
    time.SetDay(2);
    time.SetHour(13);
    time.SetMinute(8);
    time.SetSecond(4);
    time.SetMilliseconds(5);
    time += TTime::FromUnixSeconds(1);
    time -= TTime::FromUnixSeconds(1);
    same = same && time.UnixSeconds() == 928328884;
    return same && TTime::Now().Ticks() != 0 && TTime::NowGreenwich().Ticks() != 0;
  });
  run.Succeeds(done);
  FormatTime(TTime(), text, sizeof text, kFormatDate);
}

// --- Storages ------------------------------------------------------------------------------------

std::string TalkFile(const Trial& run) { return std::string(run.Data()) + "Talk.mwd"; }

// The forum's file as a storage.
class OpenFile {
 public:
  explicit OpenFile(const Trial& run) {
    storage_.Open(TalkFile(run).c_str(), kReadWrite, 0, kExclusive);
  }
  TStorage& operator*() { return storage_; }
  TStorage* operator->() { return &storage_; }

 private:
  TStorage storage_;
};

void MakeStorage(Trial& run) {
  std::optional<TStorage> storage;
  const std::string path = TalkFile(run);
  run.Call([&] { storage.emplace(path.c_str(), kReadWrite, 0, kExclusive); });
  run.Succeeds(storage->IsOpen());
}
void MakeBareStorage(Trial& run) {
  run.Succeeds(run.Call([] { return !TStorage().IsOpen() && !TStream().IsOpen(); }));
}
void MakeInnerStorage(Trial& run) {
  OpenFile file(run);
  std::optional<TStorage> storage;
  run.Call([&] { storage.emplace(file->Interface(), "Below", kReadWrite, 0, kExclusive); });
  run.Succeeds(storage->IsOpen());
}
void DestroyStorage(Trial& run) {
  std::optional<TStorage> storage;
  storage.emplace(TalkFile(run).c_str(), kReadWrite, 0, kExclusive);
  TStorage more(storage->Interface(), "More", kReadWrite, kCreate, kExclusive);
  more.Close();
  run.Call([&] { storage.reset(); });
  run.SaysNothing();
}
void OpenStorageFile(Trial& run) {
  TStorage storage;
  const std::string path = TalkFile(run);
  run.Succeeds(run.Call([&] { return storage.Open(path.c_str(), kReadWrite, 0, kExclusive); }) !=
               0);
}
void CreateStorageFile(Trial& run) {
  TStorage storage;
  const std::string path = TalkFile(run);
  run.Succeeds(
      run.Call([&] { return storage.Open(path.c_str(), kReadWrite, kCreate, kExclusive); }) != 0);
}
void OpenInnerStorage(Trial& run) {
  OpenFile file(run);
  TStorage storage;
  run.Succeeds(run.Call([&] {
    return storage.Open(file->Interface(), "Below", kReadWrite, 0, kExclusive);
  }) != 0);
}
void CreateInnerStorage(Trial& run) {
  OpenFile file(run);
  TStorage storage;
  const int result = run.Call(
      [&] { return storage.Open(file->Interface(), "More", kReadWrite, kCreate, kExclusive); });
  storage.Close();
  run.Succeeds(file->Commit() != 0 && result != 0);
}
void OpenTemporaryStorage(Trial& run) {
  TStorage storage;
  run.Succeeds(run.Call([&] { return storage.OpenTemporary(kGoes); }) != 0);
}
void CloseStorage(Trial& run) {
  OpenFile file(run);
  TStorage more(file->Interface(), "More", kReadWrite, kCreate, kExclusive);
  more.Close();
  run.Sees(run.Call([&] { return file->Close(); }));
  run.SaysNothing();
}
void CommitStorage(Trial& run) {
  OpenFile file(run);
  TStorage more(file->Interface(), "More", kReadWrite, kCreate, kExclusive);
  more.Close();
  run.Succeeds(run.Call([&] { return file->Commit(); }) != 0);
}
void CountBytes(Trial& run) {
  OpenFile file(run);
  run.Succeeds(run.Call([&] { return file->BytesSinceCommit(); }) == 0);
}
void CopyStorage(Trial& run) {
  OpenFile file(run);
  TStorage source((std::string(run.Data()) + "List.mwe").c_str(), kReadWrite, 0, kExclusive);
  const int result = run.Call([&] { return file->Copy(source.Interface()); });
  run.MayBePartOf("Data/Talk.mwd:");
  run.Succeeds(file->Commit() != 0 && result != 0);
}
void DeleteInner(Trial& run) {
  OpenFile file(run);
  const int result = run.Call([&] { return file->DeleteElement("Below"); });
  run.Succeeds(file->Commit() != 0 && result != 0);
}
void RenameInner(Trial& run) {
  OpenFile file(run);
  const int result = run.Call([&] { return file->RenameElement("Below", "Renamed"); });
  run.Succeeds(file->Commit() != 0 && result != 0);
}
void ReadTimes(Trial& run) {
  OpenFile file(run);
  TTime time;
  run.Succeeds(run.Call([&] { return file->GetElementTimes("Below", nullptr, nullptr, &time); }) !=
               0);
  run.Sees(static_cast<long long>(time.Ticks()));
}
void WriteTimes(Trial& run) {
  OpenFile file(run);
  const TTime time(1998, 5, 1, 12, 0, 0);
  const int result =
      run.Call([&] { return file->SetElementTimes("Below", &time, nullptr, &time); });
  run.Succeeds(file->Commit() != 0 && result != 0);
}
void KeepTimes(Trial& run) {
  OpenFile file(run);
  run.Succeeds(run.Call([&] { return file->SetTimes(nullptr, nullptr, nullptr); }) != 0);
}
void StorageInfo(Trial& run) {
  OpenFile file(run);
  run.Call([&] { file->GetInfo(); });
  run.SaysNothing();
}

// --- Streams -------------------------------------------------------------------------------------

class OpenStream {
 public:
  explicit OpenStream(const Trial& run) : file_(run) {
    stream_.Open(file_->Interface(), "INFO", kReadWrite, 0, kExclusive);
  }
  TStream* operator->() { return &stream_; }
  bool Commits() { return stream_.Close() != 0 && file_->Commit() != 0; }

 private:
  OpenFile file_;
  TStream stream_;
};

void MakeStream(Trial& run) {
  OpenFile file(run);
  std::optional<TStream> stream;
  run.Call([&] { stream.emplace(file->Interface(), "INFO", kReadWrite, 0, kExclusive); });
  run.Succeeds(stream->IsOpen());
}
void DestroyStream(Trial& run) {
  OpenFile file(run);
  std::optional<TStream> stream;
  stream.emplace(file->Interface(), "INFO", kReadWrite, 0, kExclusive);
  run.Call([&] { stream.reset(); });
  run.Succeeds(true);
}
void OpenOneStream(Trial& run) {
  OpenFile file(run);
  TStream stream;
  run.Succeeds(run.Call([&] {
    return stream.Open(file->Interface(), "INFO", kReadWrite, 0, kExclusive);
  }) != 0);
}
void CreateStream(Trial& run) {
  OpenFile file(run);
  TStream stream;
  const int result = run.Call(
      [&] { return stream.Open(file->Interface(), "A STREAM", kReadWrite, kCreate, kExclusive); });
  stream.Close();
  run.Succeeds(file->Commit() != 0 && result != 0);
}
void CloseStream(Trial& run) {
  OpenStream stream(run);
  run.Succeeds(run.Call([&] { return stream->Close(); }) != 0);
}
void ReadStream(Trial& run) {
  OpenStream stream(run);
  char bytes[100];
  const int count = run.Call([&] { return stream->Read(bytes, sizeof bytes); });
  run.Succeeds(count > 0);
  run.Sees(count > 0 ? std::string(bytes, static_cast<std::size_t>(count)) : "");
}
void ReadLineOfStream(Trial& run) {
  OpenStream stream(run);
  char line[32];
  run.Sees(run.Call([&] { return stream->ReadLine(line, sizeof line); }));
  run.Succeeds(line[0] != '\0');
}
void WriteStream(Trial& run) {
  OpenStream stream(run);
  const std::string bytes(6000, 'w');
  const int count = run.Call([&] { return stream->Write(bytes.data(), 6000); });
  run.Succeeds(stream.Commits() && count == 6000);
}
void SeekStream(Trial& run) {
  OpenStream stream(run);
  run.Succeeds(run.Call([&] { return stream->Seek(0, 2); }) > 0);
}
void ResizeStream(Trial& run) {
  OpenStream stream(run);
  const int result = run.Call([&] { return stream->SetSize(5000); });
  run.Succeeds(stream.Commits() && result != 0);
}
void StreamInfo(Trial& run) {
  OpenStream stream(run);
  run.Call([&] { stream->GetInfo(); });
  run.Succeeds(stream->Size() > 0);
}

}  // namespace

Rows StoreRows() {
  constexpr auto kQuiet = Row::Kind::kQuiet;
  return {
      {"TTime::TTime TTime::FromUnixSeconds TTime::Now TTime::NowGreenwich TTime::UnixSeconds "
       "TTime::Parts TTime::Year TTime::Month TTime::DayOfWeek TTime::Day TTime::Hour "
       "TTime::Minute TTime::Second TTime::Milliseconds TTime::SetYear TTime::SetMonth "
       "TTime::SetDay TTime::SetHour TTime::SetMinute TTime::SetSecond TTime::SetMilliseconds "
       "TTime::operator+= TTime::operator-=",
       Times, kQuiet},
      {"TStorage::TStorage", MakeStorage},
      {"TStorage::TStorage(and a stream, of nothing)", MakeBareStorage, kQuiet},
      {"TStorage::TStorage(in a file)", MakeInnerStorage},
      {"TStorage::~TStorage", DestroyStorage},
      {"TStorage::Open", OpenStorageFile},
      {"TStorage::Open(creates)", CreateStorageFile},
      {"TStorage::Open(in a file)", OpenInnerStorage},
      {"TStorage::Open(creates in a file)", CreateInnerStorage},
      {"TStorage::OpenTemporary", OpenTemporaryStorage},
      {"TStorage::Close", CloseStorage},
      {"TStorage::Commit", CommitStorage},
      {"TStorage::BytesSinceCommit", CountBytes, kQuiet},
      {"TStorage::Copy", CopyStorage},
      {"TStorage::DeleteElement", DeleteInner},
      {"TStorage::RenameElement", RenameInner},
      {"TStorage::GetElementTimes", ReadTimes},
      {"TStorage::SetElementTimes", WriteTimes},
      {"TStorage::SetTimes", KeepTimes, kQuiet},
      {"TStorage::GetInfo", StorageInfo},
      {"TStream::TStream", MakeStream},
      {"TStream::~TStream", DestroyStream, kQuiet},
      {"TStream::Open", OpenOneStream},
      {"TStream::Open(creates)", CreateStream},
      {"TStream::Close", CloseStream, kQuiet},
      {"TStream::Read", ReadStream},
      {"TStream::ReadLine", ReadLineOfStream},
      {"TStream::Write", WriteStream},
      {"TStream::Seek", SeekStream, kQuiet},
      {"TStream::SetSize", ResizeStream},
      {"TStream::GetInfo", StreamInfo, kQuiet},
  };
}

}  // namespace faults
