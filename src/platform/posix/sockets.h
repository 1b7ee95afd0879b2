// Windows Sockets over the system's sockets. Addresses and options are the system's own types.
#pragma once

#include <brevant/platform_types.h>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using SOCKET = int;
inline constexpr SOCKET INVALID_SOCKET = -1;
inline constexpr int SOCKET_ERROR = -1;
inline constexpr int SD_RECEIVE = 0;
inline constexpr int SD_SEND = 1;
inline constexpr int SD_BOTH = 2;
inline constexpr int WSAEINTR = 10004;
inline constexpr int WSAEWOULDBLOCK = 10035;
inline constexpr int WSAEINPROGRESS = 10036;
inline constexpr int WSAETIMEDOUT = 10060;

struct WSADATA {
  WORD wVersion;
  WORD wHighVersion;
};

int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();
int WSAGetLastError();
int closesocket(SOCKET socket);
