// The registry of systems without one: a store in registry export text (registry_file_format.h)
// with the semantics of the Windows registry for the calls the component makes.
//
// Files: HKEY_LOCAL_MACHINE and HKEY_CLASSES_ROOT live in /etc/lumivex/registry.reg,
// HKEY_CURRENT_USER in $XDG_CONFIG_HOME/lumivex/registry.reg (~/.config/lumivex/registry.reg
// when XDG_CONFIG_HOME is not set); LUMIVEX_REGISTRY names one file that holds every root instead.
// A missing file is an empty registry.
//
// Every change takes an exclusive lock (flock on "<file>.lock", which excludes other processes
// and other store objects of this process alike), reads the file again, applies the change and
// replaces the file atomically (write "<file>.tmp", fsync, rename, fsync the directory): two
// writers lose nothing, and a crash leaves the old file whole. A malformed file is never
// rewritten: every call that needs it fails with reg::BADDB and LastProblem() tells the line.
// Remote computers are refused (reg::BAD_NETPATH). Writing the machine file needs the right to
// write its directory, as writing HKEY_LOCAL_MACHINE needs an administrator (reg::ACCESS_DENIED).
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/posix/registry_document.h"
#include "platform/registry_api.h"

namespace lumivex {

struct RegistryFiles {
  std::filesystem::path machine;  // HKEY_LOCAL_MACHINE and HKEY_CLASSES_ROOT
  std::filesystem::path user;     // HKEY_CURRENT_USER (may be the same file)
};

class RegistryFileStore : public RegistryApi {
 public:
  // The files named by the environment (see above).
  static RegistryFiles DefaultFiles();

  explicit RegistryFileStore(const RegistryFiles& files = DefaultFiles());

  LUMIVEX_REGISTRY_OVERRIDES

  // What went wrong last with a file or a call ("...registry.reg: line 7: quoted text not
  // closed"), for diagnostics; empty when nothing did.
  std::string LastProblem() const;

 private:
  struct OpenedKey {
    RegistryRoot root;
    std::vector<std::string> path;
  };
  // What is known of one file: its identity when last read, and its content or why it is unusable.
  struct FileState {
    std::filesystem::path path;
    bool loaded = false;
    std::uint64_t device = 0, inode = 0, size = 0;
    std::int64_t modifiedNs = 0;
    RegResult status = reg::SUCCESS;  // BADDB: malformed
    RegistryDocument document;
    std::string problem;  // why the file is malformed
  };

  FileState& FileOf(RegistryRoot root);
  static void Forget(FileState& file);
  RegResult Resolve(RegKey key, OpenedKey& opened) const;
  // Brings the file's document up to date (re-reading it when it changed on disk).
  RegResult Load(FileState& file);
  // The document of the key's file and the key itself (KEY_DELETED when it went away).
  RegResult Node(const OpenedKey& opened, const RegistryKeyNode*& node);
  // Applies `change` to the file of `root` under the lock; the file is written when `change`
  // succeeds and reports a change.
  template <typename Change>
  RegResult Modify(RegistryRoot root, Change change);
  RegResult WriteFile(FileState& file, const std::string& text);
  RegResult Fail(RegResult result, const std::string& problem);
  RegKey NewHandle(OpenedKey opened);

  mutable std::mutex mutex_;
  std::vector<FileState> files_;
  std::map<RegKey, OpenedKey> keys_;
  RegKey nextHandle_ = 0x1000;
  std::string problem_;
};

}  // namespace lumivex
