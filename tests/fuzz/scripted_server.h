#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "platform/pipewire/server_mirror.h"

namespace brindlemux::test {

/// A server that says to a `ServerMirror` what a text tells it to, one event a line, the fields of a line separated by
/// tabs. Numbers are decimal; properties are written key=value.
///
///   N|C|P|L|M  ID  PROPERTY...        a node, client, port, link or metadata object appears
///   -  ID                             it goes
///   I  ID  STATE  INS  OUTS  PROPERTY...   a node or a client describes itself
///   F  ID  SUBTYPE  CHANNELS          a node's format: an enumerator of spa_media_subtype, and raw audio's channels
///   R  ID  HEX                        a node's format as the bytes of a pod
///   =  ID  SUBJECT  KEY  VALUE        metadata: a value; without it the key goes, and without a key all do
///
/// What makes no sense is skipped. As the connection does, events go only to who has bound the object, and a pod is
/// handed on only where its own size fits.
///
/// It stands in for the parts of libpipewire that the mirror calls, so one process has one at a time.
class ScriptedServer {
 public:
  explicit ScriptedServer(ServerMirror& mirror);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  void say(std::string_view line);

 private:
  ServerMirror& mirror_;
  std::uint64_t nextSerial_ = 1;
};

}  // namespace brindlemux::test
