// Dial-up connections over the Remote Access Service: list the machine's entries, dial one, see
// whether a connection exists, hang up.
//
// The service's library, RASAPI32.DLL, is loaded only on request; while it is not loaded, and where
// it lacks what is needed, everything here gives 0 or null and says nothing. All functions belong
// on the host's thread. One exception: the status function may call HangUpRas, and only that, also
// when it is called from the service's thread.
#pragma once

#include <brevant/frame.h>

// A search of the dial-up entries.
struct TRasSearch;

extern "C" {
// Loads the service's library by its name, as the platform looks for libraries. 1 when it is
// loaded, now or already, 0 when it cannot be.
BREVANT_API int LoadRasDLL() BREVANT_EXPORTED_AS(LoadRasDLL);
// Lets the library go. Always 0. What was dialled stays connected, and HangUpRas still knows it
// when the library is loaded again. Not to be called while a dial is under way, whose thread runs
// in the library.
BREVANT_API int UnloadRasDLL() BREVANT_EXPORTED_AS(UnloadRasDLL);
// 1 when the service has an active connection, whoever dialled it; else 0.
BREVANT_API int HasRasConnection() BREVANT_EXPORTED_AS(HasRasConnection);
// Dials an entry of the default phone book with its own number and waits, keeping one processor
// busy, until it is connected (1), has failed or was hung up (0).
//
// statusFunction is shown each step ("Dialing...", "Verifying user name and password", ...); null
// for none. It is called from a thread of the service's, also after DialUpRas has returned, until
// HangUpRas; a call that has begun by then may still be running. Its text is valid during the call
// only. entryName and password are copied, 256 bytes at most; null counts as empty. The entry's
// name is also the user name: userName is not looked at.
//
// A connection of an earlier call that was not hung up goes on, but is no longer known here.
BREVANT_API int DialUpRas(StatusFunction statusFunction, const char* entryName,
                          const char* userName, const char* password)
    BREVANT_EXPORTED_AS(DialUpRas);
// Shows "Hanging up...", ends the connection that DialUpRas made and waits until it is gone. With
// or without one, nothing is shown to the status function afterwards. 1, or 0 when the service's
// library is not loaded.
BREVANT_API int HangUpRas() BREVANT_EXPORTED_AS(HangUpRas);

// Lists the entries of the default phone book as they are now. Null when there are none, when they
// cannot be listed, or when memory runs out. To be ended with EndRasSearch, which also works when
// the service's library is no longer loaded.
BREVANT_API TRasSearch* StartRasSearch() BREVANT_EXPORTED_AS(StartRasSearch);
// The first entry's name; null for a null search. Names stay valid until the search ends.
BREVANT_API const char* FindFirstRasEntry(TRasSearch* search)
    BREVANT_EXPORTED_AS(FindFirstRasEntry);
// The next entry's name; null after the last, again and again, and for a null search. Before the
// first FindFirstRasEntry it begins with the second entry.
BREVANT_API const char* FindNextRasEntry(TRasSearch* search) BREVANT_EXPORTED_AS(FindNextRasEntry);
// Ends the search; null is ignored.
BREVANT_API void EndRasSearch(TRasSearch* search) BREVANT_EXPORTED_AS(EndRasSearch);
}
