#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <exception>
#include <string_view>

#include <foundation/json/jsonreader.h>
#include <foundation/text/stringutils.h>

namespace vorn::foundation::json {

/// Why a file was not read or saved: a fault in its text, or an errno and the
/// step that failed, "open", "read", "write", "sync" or "rename". If memory is
/// exhausted, both are set: Kind::NoMemory and ENOMEM.
struct FileFault {
  JsonFault text;
  int error = 0;
  const char* step = "";
};

namespace json_internal {  // POSIX, with exceptions
/// Runs the work. If it throws, sets the fault and returns false.
template <class Work>
bool Try(FileFault& fault, const char* step, Work work) try {
  fault = FileFault();
  return work();
} catch (const FileFault& thrown) {
  fault = thrown;
  return false;
} catch (const std::exception&) {
  fault = {{JsonFault::Kind::NoMemory, 0, 0, 0, "", ""}, ENOMEM, step};
  return false;
}

[[noreturn]] inline void Fail(int error, const char* step) {
  throw FileFault{JsonFault(), error, step};
}

/// Makes a system call. Repeats the call if a signal interrupts it.
template <class Call>
auto Do(const char* step, Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  if (result < 0) Fail(errno, step);
  return result;
}

/// An open file. The destructor removes a file created here, unless renamed.
class File {
 public:
  File(const char* path, int flags)
      : number_(Do("open", [&] { return open(path, flags | O_CLOEXEC); })) {}
  File(const SafeString& folder, mode_t mode) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    for (int i = 0; number_ < 0 && (i == 0 || errno == EEXIST); ++i) {
      name_ =
          folder + text::StringUtils::_InternalFormat("%d-%d.new", getpid(), i);
      number_ = open(name_.c_str(), kFlags, mode);
    }
    if (number_ < 0) Fail(errno, "open");
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (!name_.empty()) unlink(name_.c_str());
    close(number_);
  }

  operator int() const { return number_; }

  void rename(const SafeString& path) {
    Do("rename", [&] { return std::rename(name_.c_str(), path.c_str()); });
    name_.clear();
  }

 private:
  SafeString name_;
  int number_ = -1;
};

inline void CheckRegular(mode_t mode) {
  if (!S_ISREG(mode)) Fail(S_ISDIR(mode) ? EISDIR : EINVAL, "open");
}

/// The file that the path names, or would name, behind all symbolic links.
inline SafeString Follow(const char* name) {
  if (name == nullptr || *name == '\0') Fail(name ? ENOENT : EFAULT, "open");
  SafeString path(name);
  char target[PATH_MAX];
  for (int links = 0; links < 40; ++links) {
    const ssize_t size = readlink(path.c_str(), target, sizeof target);
    if (size <= 0) return path;
    path.resize(target[0] == '/' ? 0 : path.rfind('/') + 1);
    path.append(target, static_cast<std::size_t>(size));
  }
  Fail(ELOOP, "open");
}

inline SafeString Read(int file, std::size_t most) {
  struct stat status;
  Do("open", [&] { return fstat(file, &status); });
  CheckRegular(status.st_mode);
  SafeString text;
  text.reserve(std::min(static_cast<std::size_t>(status.st_size), most));
  char part[4096];
  while (const auto more =
             Do("read", [&] { return read(file, part, sizeof part); })) {
    text.append(part, static_cast<std::size_t>(more));
    if (text.size() > most) Fail(EFBIG, "read");
  }
  return text;
}

inline void Write(int file, std::string_view text) {
  while (!text.empty()) {
    text.remove_prefix(static_cast<std::size_t>(
        Do("write", [&] { return write(file, text.data(), text.size()); })));
  }
}

inline void Save(const SafeString& path, std::string_view text,
                 std::string_view end) {
  const SafeString beside = path.substr(0, path.rfind('/') + 1) + ".";
  const File folder(beside.c_str(), O_RDONLY | O_DIRECTORY);
  struct stat former;
  const bool exists = stat(path.c_str(), &former) == 0;
  if (!exists && errno != ENOENT) Fail(errno, "open");
  if (exists) CheckRegular(former.st_mode);
  File file(beside, exists ? S_IRUSR | S_IWUSR : 0666);
  Write(file, text);
  Write(file, end);
  if (exists) {
    // Keeps at least the group. Set-id bits are kept for former owners only.
    const bool kept = fchown(file, geteuid(), former.st_gid) == 0 &&
                      fchown(file, former.st_uid, former.st_gid) == 0;
    if (!kept) former.st_mode &= 01777;
    Do("write", [&] { return fchmod(file, former.st_mode & 07777); });
  }
  Do("sync", [&] { return fsync(file); });
  file.rename(path);
  // EINVAL: the file system does not sync folders.
  Do("sync", [&] { return fsync(folder) == 0 || errno == EINVAL ? 0 : -1; });
}

}  // namespace json_internal

/// Reads a regular file of at most that many bytes into a JsonReader or
/// JsonArchiver. On failure sets the fault, empties reader and returns false.
template <class Reader>
bool ReadFile(const char* path, std::size_t most, Reader& reader,
              FileFault& fault) {
  return json_internal::Try(fault, "read", [&] {
    reader.fromString(nullptr);
    if (path == nullptr) json_internal::Fail(EFAULT, "open");
    const json_internal::File file(path, O_RDONLY | O_NONBLOCK);
    const SafeString text = json_internal::Read(file, most);
    const bool read =
        text.find('\0') == text.npos
            ? reader.fromString(text, fault.text)  // without a copy
            : reader.fromString(text.data(), text.size(), fault.text);
    if (fault.text.kind == JsonFault::Kind::NoMemory) throw std::bad_alloc();
    return read;
  });
}

/// Saves the formatted value and a line feed. After any failure, also of power,
/// the path names the former file or the whole new one. Keeps mode, owner and
/// group as far as the process may. Follows symbolic links, breaks hard links,
/// replaces only regular files. On failure sets the fault and returns false;
/// the new file is in place only if the step is "sync".
inline bool SaveFile(const char* path, const JBase& value, FileFault& fault) {
  return json_internal::Try(fault, "write", [&] {
    json_internal::Save(json_internal::Follow(path), JsonReader::Format(&value),
                        "\n");
    return true;
  });
}

}  // namespace vorn::foundation::json
