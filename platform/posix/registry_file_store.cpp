#include "platform/posix/registry_file_store.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/posix/registry_file_format.h"
#include "platform/text/utf8.h"
#include "platform/text/windows_1252_code_page.h"

namespace lumivex {

namespace {

bool IsTextType(RegDword type) {
  return type == reg::SZ || type == reg::EXPAND_SZ || type == reg::MULTI_SZ;
}

// String data crosses the seam in this system's code page (Windows-1252), one byte a character,
// as the ANSI registry calls take it; the store keeps it as UTF-8. A character that the code page
// lacks reads as "?", as such a character reads through the ANSI calls on Windows.
std::vector<std::uint8_t> FromCodePage(const std::vector<std::uint8_t>& bytes) {
  const std::string text = Windows1252CodePage().ToText(bytes);
  return {text.begin(), text.end()};
}

std::vector<std::uint8_t> ToCodePage(const std::vector<std::uint8_t>& utf8) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(utf8.size());
  for (const char32_t c :
       DecodeUtf8(std::string_view(reinterpret_cast<const char*>(utf8.data()), utf8.size()))) {
    bytes.push_back(Windows1252CodePage::ByteOf(c).value_or('?'));
  }
  return bytes;
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  [[nodiscard]] bool valid() const { return fd_ >= 0; }
  [[nodiscard]] int get() const { return fd_; }
  // Closes now and tells whether the close succeeded (it reports delayed write errors).
  bool Close() {
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0;
  }

 private:
  int fd_;
};

RegResult FromErrno(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
      return reg::ACCESS_DENIED;
    case ENOMEM:
      return reg::OUTOFMEMORY;
    default:
      return reg::REGISTRY_IO_FAILED;
  }
}

std::string ErrnoText(const std::filesystem::path& path, int error) {
  return path.string() + ": " + std::strerror(error);
}

// Names that the file can hold: a line break would end the line that carries the name.
bool IsWritableName(std::string_view name) {
  return name.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::int64_t ModifiedNs(const struct stat& st) {
#if defined(__APPLE__)
  const auto& t = st.st_mtimespec;
#else
  const auto& t = st.st_mtim;
#endif
  return static_cast<std::int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec;
}

template <typename Call>
RegResult Guarded(std::mutex& mutex, Call call) {
  const std::lock_guard lock(mutex);
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return reg::OUTOFMEMORY;
  } catch (...) {
    return reg::REGISTRY_IO_FAILED;
  }
}

}  // namespace

RegistryFiles RegistryFileStore::DefaultFiles() {
  if (const char* one = std::getenv("LUMIVEX_REGISTRY"); one != nullptr && *one != '\0')
    return {one, one};
  std::filesystem::path config;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && *xdg == '/') {
    config = xdg;
  } else {
    std::string home;
    if (const char* env = std::getenv("HOME"); env != nullptr) home = env;
    if (home.empty()) {
      if (const passwd* user = ::getpwuid(::getuid()); user != nullptr && user->pw_dir != nullptr)
        home = user->pw_dir;
    }
    config = std::filesystem::path(home) / ".config";
  }
  return {"/etc/lumivex/registry.reg", config / "lumivex" / "registry.reg"};
}

RegistryFileStore::RegistryFileStore(const RegistryFiles& files) {
  files_.emplace_back().path = files.machine;
  if (files.user.lexically_normal() != files.machine.lexically_normal())
    files_.emplace_back().path = files.user;
}

std::string RegistryFileStore::LastProblem() const {
  const std::lock_guard lock(mutex_);
  return problem_;
}

RegResult RegistryFileStore::Fail(RegResult result, const std::string& problem) {
  problem_ = problem;
  return result;
}

RegistryFileStore::FileState& RegistryFileStore::FileOf(RegistryRoot root) {
  return files_.size() > 1 && root == RegistryRoot::CurrentUser ? files_[1] : files_[0];
}

RegResult RegistryFileStore::Resolve(RegKey key, OpenedKey& opened) const {
  if (const auto root = RootOfKey(key)) {
    opened = {*root, {}};
    return reg::SUCCESS;
  }
  const auto found = keys_.find(key);
  if (found == keys_.end()) return reg::INVALID_HANDLE;
  opened = found->second;
  return reg::SUCCESS;
}

RegKey RegistryFileStore::NewHandle(OpenedKey opened) {
  while (keys_.contains(nextHandle_) || nextHandle_ >= reg::CLASSES_ROOT) {
    nextHandle_ = nextHandle_ >= reg::CLASSES_ROOT ? 0x1000 : nextHandle_ + 4;
  }
  const RegKey handle = nextHandle_;
  nextHandle_ += 4;
  keys_.emplace(handle, std::move(opened));
  return handle;
}

void RegistryFileStore::Forget(FileState& file) {
  file.loaded = false;
  file.device = file.inode = file.size = 0;
  file.modifiedNs = 0;
  file.status = reg::SUCCESS;
  file.document = {};
  file.problem.clear();
}

RegResult RegistryFileStore::Load(FileState& file) {
  const FileDescriptor fd(::open(file.path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd.valid()) {
    const int error = errno;
    if (error != ENOENT) return Fail(FromErrno(error), ErrnoText(file.path, error));
    Forget(file);  // no file yet: an empty registry
    file.loaded = true;
    return reg::SUCCESS;
  }
  struct stat st {};
  if (::fstat(fd.get(), &st) != 0) return Fail(FromErrno(errno), ErrnoText(file.path, errno));
  const auto device = static_cast<std::uint64_t>(st.st_dev);
  const auto inode = static_cast<std::uint64_t>(st.st_ino);
  const auto size = static_cast<std::uint64_t>(st.st_size);
  if (!file.loaded || file.device != device || file.inode != inode || file.size != size ||
      file.modifiedNs != ModifiedNs(st)) {
    std::string text;
    text.resize(size);
    std::size_t got = 0;
    for (;;) {
      if (got == text.size()) text.resize(text.size() + 4096);
      const ssize_t n = ::read(fd.get(), text.data() + got, text.size() - got);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return Fail(FromErrno(errno), ErrnoText(file.path, errno));
      if (n == 0) break;
      got += static_cast<std::size_t>(n);
    }
    text.resize(got);
    std::string problem;
    auto document = ParseRegistryText(text, problem);
    Forget(file);
    file.loaded = true;
    file.device = device;
    file.inode = inode;
    file.size = size;
    file.modifiedNs = ModifiedNs(st);
    if (document) {
      file.document = std::move(*document);
    } else {
      file.status = reg::BADDB;
      file.problem = file.path.string() + ": " + problem;
    }
  }
  return file.status == reg::SUCCESS ? reg::SUCCESS : Fail(file.status, file.problem);
}

RegResult RegistryFileStore::Node(const OpenedKey& opened, const RegistryKeyNode*& node) {
  FileState& file = FileOf(opened.root);
  if (const RegResult result = Load(file); result != reg::SUCCESS) return result;
  node = file.document.Find(opened.root, opened.path);
  return node != nullptr ? reg::SUCCESS : reg::KEY_DELETED;
}

template <typename Change>
RegResult RegistryFileStore::Modify(RegistryRoot root, Change change) {
  FileState& file = FileOf(root);
  std::error_code error;
  if (file.path.has_parent_path())
    std::filesystem::create_directories(file.path.parent_path(), error);
  if (error)
    return Fail(FromErrno(error.value()), ErrnoText(file.path.parent_path(), error.value()));
  const std::string lockPath = file.path.string() + ".lock";
  const FileDescriptor lock(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
  if (!lock.valid()) return Fail(FromErrno(errno), ErrnoText(lockPath, errno));
  while (::flock(lock.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return Fail(FromErrno(errno), ErrnoText(lockPath, errno));
  }
  // Another process may have changed the file since it was last read: start from its content.
  file.loaded = false;
  if (const RegResult result = Load(file); result != reg::SUCCESS) return result;
  RegistryDocument document = file.document;
  bool changed = false;
  if (const RegResult result = change(document, changed); result != reg::SUCCESS || !changed)
    return result;
  if (const RegResult result = WriteFile(file, FormatRegistryText(document));
      result != reg::SUCCESS)
    return result;
  file.loaded = false;  // read again next time, which also records the new file's identity
  return reg::SUCCESS;
}

RegResult RegistryFileStore::WriteFile(FileState& file, const std::string& text) {
  const std::string temporary = file.path.string() + ".tmp";  // only the lock holder writes it
  mode_t mode = 0644;
  struct stat st {};
  const bool existed = ::stat(file.path.c_str(), &st) == 0;
  if (existed) mode = st.st_mode & 07777;
  FileDescriptor out(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
  if (!out.valid()) return Fail(FromErrno(errno), ErrnoText(temporary, errno));
  const auto failed = [&](int error) {
    ::unlink(temporary.c_str());
    return Fail(FromErrno(error), ErrnoText(temporary, error));
  };
  if (existed && ::fchmod(out.get(), mode) != 0) return failed(errno);
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t n = ::write(out.get(), text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return failed(errno);
    done += static_cast<std::size_t>(n);
  }
  if (::fsync(out.get()) != 0) return failed(errno);
  if (!out.Close()) return failed(errno);
  if (::rename(temporary.c_str(), file.path.c_str()) != 0) return failed(errno);
  // The rename itself reaches the disk with the directory.
  const std::filesystem::path directory =
      file.path.has_parent_path() ? file.path.parent_path() : std::filesystem::path(".");
  const FileDescriptor dir(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (dir.valid()) ::fsync(dir.get());
  return reg::SUCCESS;
}

RegResult RegistryFileStore::ConnectRegistry(const std::string& computer, RegKey root,
                                             RegKey* result) {
  return Guarded(mutex_, [&] {
    if (!computer.empty())
      return Fail(reg::BAD_NETPATH, "remote registries (" + computer + ") need Windows");
    if (result == nullptr) return reg::INVALID_PARAMETER;
    if (!RootOfKey(root)) return reg::INVALID_HANDLE;
    *result = root;
    return reg::SUCCESS;
  });
}

RegResult RegistryFileStore::OpenKey(RegKey key, const std::string& subKey, RegDword /*access*/,
                                     RegKey* result) {
  return Guarded(mutex_, [&] {
    OpenedKey opened;
    if (const RegResult r = Resolve(key, opened); r != reg::SUCCESS) return r;
    if (result == nullptr) return reg::INVALID_PARAMETER;
    for (std::string& name : SplitKeyPath(subKey)) opened.path.push_back(std::move(name));
    FileState& file = FileOf(opened.root);
    if (const RegResult r = Load(file); r != reg::SUCCESS) return r;
    if (file.document.Find(opened.root, opened.path) == nullptr) return reg::FILE_NOT_FOUND;
    *result = NewHandle(std::move(opened));
    return reg::SUCCESS;
  });
}

RegResult RegistryFileStore::CreateKey(RegKey key, const std::string& subKey, RegDword /*options*/,
                                       RegDword /*access*/, RegKey* result, RegDword* disposition) {
  return Guarded(mutex_, [&] {
    OpenedKey opened;
    if (const RegResult r = Resolve(key, opened); r != reg::SUCCESS) return r;
    if (result == nullptr || !IsWritableName(subKey)) return reg::INVALID_PARAMETER;
    for (std::string& name : SplitKeyPath(subKey)) opened.path.push_back(std::move(name));
    if (opened.path.size() > kMaxKeyDepth) return reg::INVALID_PARAMETER;
    bool created = false;
    const RegResult r = Modify(opened.root, [&](RegistryDocument& document, bool& changed) {
      document.Create(opened.root, opened.path, &created);
      changed = created;
      return reg::SUCCESS;
    });
    if (r != reg::SUCCESS) return r;
    if (disposition != nullptr)
      *disposition = created ? reg::CREATED_NEW_KEY : reg::OPENED_EXISTING_KEY;
    *result = NewHandle(std::move(opened));
    return reg::SUCCESS;
  });
}

RegResult RegistryFileStore::QueryValue(RegKey key, const std::string& name, RegDword* type,
                                        std::uint8_t* data, RegDword* size) {
  return Guarded(mutex_, [&] {
    OpenedKey opened;
    const RegistryKeyNode* node = nullptr;
    if (const RegResult r = Resolve(key, opened); r != reg::SUCCESS) return r;
    if (const RegResult r = Node(opened, node); r != reg::SUCCESS) return r;
    const RegistryValue* value = node->FindValue(name);
    if (value == nullptr) return reg::FILE_NOT_FOUND;
    if (type != nullptr) *type = value->type;
    const std::vector<std::uint8_t> stored =
        IsTextType(value->type) ? ToCodePage(value->data) : value->data;
    const auto needed = static_cast<RegDword>(stored.size());
    if (data == nullptr) {
      if (size != nullptr) *size = needed;
      return reg::SUCCESS;
    }
    if (size == nullptr) return reg::INVALID_PARAMETER;
    const RegDword room = *size;
    *size = needed;
    if (room < needed) return reg::MORE_DATA;
    std::copy(stored.begin(), stored.end(), data);
    return reg::SUCCESS;
  });
}

RegResult RegistryFileStore::SetValue(RegKey key, const std::string& name, RegDword type,
                                      const std::uint8_t* data, RegDword size) {
  return Guarded(mutex_, [&] {
    OpenedKey opened;
    if (const RegResult r = Resolve(key, opened); r != reg::SUCCESS) return r;
    if ((data == nullptr && size != 0) || !IsWritableName(name)) return reg::INVALID_PARAMETER;
    std::vector<std::uint8_t> bytes(data, data + size);
    if (IsTextType(type)) bytes = FromCodePage(bytes);
    return Modify(opened.root, [&](RegistryDocument& document, bool& changed) {
      RegistryKeyNode* node = document.Find(opened.root, opened.path);
      if (node == nullptr) return reg::KEY_DELETED;
      node->SetValue(name, type, std::move(bytes));
      changed = true;
      return reg::SUCCESS;
    });
  });
}

RegResult RegistryFileStore::EnumValue(RegKey key, RegDword index, char* name,
                                       RegDword* nameLength) {
  return Guarded(mutex_, [&] {
    OpenedKey opened;
    const RegistryKeyNode* node = nullptr;
    if (const RegResult r = Resolve(key, opened); r != reg::SUCCESS) return r;
    if (const RegResult r = Node(opened, node); r != reg::SUCCESS) return r;
    if (index >= node->values.size()) return reg::NO_MORE_ITEMS;
    if (name == nullptr || nameLength == nullptr) return reg::INVALID_PARAMETER;
    const std::string& found = node->values[index].name;
    if (*nameLength <= found.size()) return reg::MORE_DATA;
    std::copy(found.begin(), found.end(), name);
    name[found.size()] = '\0';
    *nameLength = static_cast<RegDword>(found.size());
    return reg::SUCCESS;
  });
}

RegResult RegistryFileStore::CloseKey(RegKey key) {
  return Guarded(mutex_, [&] {
    if (RootOfKey(key)) return reg::SUCCESS;
    return keys_.erase(key) == 1 ? reg::SUCCESS : reg::INVALID_HANDLE;
  });
}

}  // namespace lumivex
