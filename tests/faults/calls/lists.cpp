// The rows together, and the lists of what is none or may fail in silence.
#include "calls/row.h"

namespace faults {

Rows AllRows() {
  Rows all;
  for (const auto& part : {StoreRows(), FrameRows(), ListRows(), FlatRows(), MailboxRows(),
                           SmtpRows(), FtpRows(), RemoteTableRows()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

const std::vector<Harmless>& HarmlessOnes() {
  static const std::vector<Harmless> list = {
      {"TStorage::~TStorage", "it has no result; Commit before it tells"},
      {"TStorage::Close", "its result says whether something was open; Commit before it tells"},
      {"TStorage::GetInfo", "it has no result; the times stay what they were"},
      {"LogError", "a line that cannot be written is lost; nobody could be told"},
      {"TSetup::String", "a default stands for what cannot be read"},
      {"TSetup::Number", "a default stands for what cannot be read"},
      {"TSetup::Integer", "a default stands for what cannot be read"},
      {"TSetup::Date", "a default stands for what cannot be read"},
      {"TSetup::Time", "a default stands for what cannot be read"},
      {"TSetup::DefaultString", "an empty text stands for what cannot be put together"},
      {"TSetup::LastModifyTime", "a file that cannot be looked at has no time"},
      {"LoadRasDLL", "no service answers here, whatever fails"},
      {"CreateTask", "the state's line on it may be missing; the task itself is there"},
      {"OpenForum(of an older layout)", "the next opening brings it up to date"},
      {"RemoveMessage", "1 says that the element is gone; its record, if it stays, leads nowhere"},
      {"RemoveArticle", "as RemoveMessage"},
      {"RemoveLink", "as RemoveMessage"},
      {"RemoveAnswer", "as RemoveMessage"},
      {"RemoveMailingList", "1 says that the forum has lists, whether or not this one was there"},
      {"InsertMessage(into a full forum)", "the next insertion removes what is too much"},
      {"TSMTP::WriteLine", "a failure of its second half lessens the sum; status bit 8 is clear"},
      {"TPOP3::Disconnect", "its result is always 1; what was marked stays and is fetched again"},
      {"CloseForum", "it has no result; Commit before it tells"},
      {"CloseContributor", "it has no result; Commit before it tells"},
      {"CloseLinkList", "it has no result; Commit before it tells"},
      {"CloseSurveyQuestion", "it has no result; Commit before it tells"},
      {"CloseMessage", "it has no result; the commit of its forum tells"},
      {"CloseArticle", "it has no result; the commit of its list tells"},
      {"CloseLink", "it has no result; the commit of its list tells"},
      {"CloseAnswer", "it has no result; the commit of its question tells"},
      {"GetMailingListName", "without the name the text is empty, as where there is no such list"},
  };
  return list;
}

const std::vector<Harmless>& ExemptOnes() {
  constexpr const char* kByFlat = "runs in the rows of the flat functions that call it";
  constexpr const char* kByClient = "runs in the rows of the clients";
  constexpr const char* kData = "is a variable";
  // Honest gaps: they run in no row.
  constexpr const char* kGap = "has no row yet; its kin of the same class have";
  static const std::vector<Harmless> list = {
      {"TContributor::Extension TContributor::FindMessage TContributor::InsertMessage "
       "TContributor::TContributor TContributor::~TContributor TForum::ChangeListItem "
       "TForum::ChangeMessageInfo TForum::Close TForum::CloseList TForum::CreateList "
       "TForum::DefaultNumber TForum::DefaultString TForum::EndMessageSearch "
       "TForum::Extension TForum::GetNextMessageIndex TForum::GetPrevMessageIndex "
       "TForum::InsertMessage TForum::KnowsProperties TForum::LoadedIndex "
       "TForum::MessageIndex TForum::Number TForum::Open TForum::OpenAnnouncement "
       "TForum::OpenList TForum::OpenMessage TForum::PlaceMessage TForum::ReadListItem "
       "TForum::ReadNextListItem TForum::ReadNextMessageInfo TForum::RemoveListItem "
       "TForum::RemoveMessage TForum::RemoveMessageInfo TForum::SetNumber "
       "TForum::SetString TForum::StartMessageSearch TForum::String TForum::TForum "
       "TForum::TouchMessage TForum::WriteInfo TForum::WriteListItem "
       "TForum::WriteMessageInfo TForum::~TForum TLinkList::Extension "
       "TLinkList::RenameItem TLinkList::TLinkList TLinkList::~TLinkList "
       "TMail::CanTell TMail::Close TMail::Copy TMail::DefaultNumber "
       "TMail::DefaultString TMail::Number TMail::Open TMail::OpenTemporary "
       "TMail::SetNumber TMail::SetString TMail::SetTime TMail::String TMail::TMail "
       "TMail::WriteInfo TMail::~TMail TSurveyQuestion::Extension "
       "TSurveyQuestion::TSurveyQuestion TSurveyQuestion::~TSurveyQuestion",
       kByFlat},
      {"TProtocol::Connect TProtocol::Disconnect TProtocol::DisplayHistory "
       "TProtocol::IsOneLine TProtocol::Read TProtocol::ReceiveReplyLine "
       "TProtocol::SendCommandLine TProtocol::SetTimeout TProtocol::TProtocol "
       "TProtocol::Write TProtocol::~TProtocol TSecurityInfos::TSecurityInfos "
       "TSecurityInfos::~TSecurityInfos",
       kByClient},
      {"TProtocol::myHistoryFunction", kData},
      {"TFTP::DefaultPort TFTP::ExecuteCommand TFTP::FindNextFileA TFTP::Interrupt "
       "TFTP::OpenResourceIfNewer TFTP::OpenResourceIfOlder TFTP::ProtocolName "
       "TFTPSearcher::GetNext TFTPSearcher::Initialize TFTPSearcher::TFTPSearcher "
       "TFTPSearcher::~TFTPSearcher TForum::Copy TForum::GetMessageTimes "
       "TForum::InsertSubForum TForum::OpenSubForum TForum::OpenTemporary "
       "TForum::ReadInfo TForum::RemoveInfo TForum::RemoveSubForum TMail::CloseList "
       "TMail::ContentTruncate TMail::CreateList TMail::OpenList TMail::ReadInfo "
       "TMail::ReadListItem TMail::ReadNextListItem TMail::RemoveInfo "
       "TMail::RemoveListItem TMail::WriteListItem TProtocol::Close TProtocol::Get "
       "TProtocol::GetDescription TProtocol::GetFirst TProtocol::GetNext "
       "TProtocol::GetRemaining TProtocol::GetSize TProtocol::GetTransferred "
       "TProtocol::Interrupt TProtocol::OpenCurrent TProtocol::OpenResource "
       "TProtocol::OpenResourceIfNewer TProtocol::OpenResourceIfOlder "
       "TProtocol::OpenURL TProtocol::OpenURLIfNewer TProtocol::OpenURLIfOlder "
       "TProtocol::Put TProtocol::ResourceTime TProtocol::SetContinueFlag "
       "TProtocol::SetSize TRemoteDirectoryRecord::Keep TRemoteFAT::NamesBelow "
       "TRemoteFAT::RemoveDirectoryRecord",
       kGap},
  };
  return list;
}

}  // namespace faults
