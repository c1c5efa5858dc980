// A file or folder that is open, with everything that holds while it is.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "files/sharing.h"
#include "machine/handles.h"

namespace Lab {

class FolderWatch;

class OpenFile : public Object {
 public:
  struct Request {
    AccessKinds access = 0;
    AccessKinds share = 0;
    bool mayCreate = false;  ///< Makes the file when there is none.
    bool mayExist = true;    ///< False: only a new file will do.
    bool truncates = false;  ///< Empties what is there.
    bool allowsFolder = false;
    bool deletesOnClose = false;
    DWORD attributes = 0;  ///< Of a new or an emptied file.
    /// Of a new file, in its text form; empty: nothing but what the folder hands on.
    std::string accessList{};
  };

  struct Result;

  /// Opens the file at a place of the host.
  static Result Open(const std::filesystem::path& place, const Request& request);

  OpenFile(int descriptor, std::filesystem::path place, const Request& request);

  /// The name goes with the last close if the file was to be deleted.
  ~OpenFile() override;

  const char* TypeName() const override { return "File"; }

  int Descriptor() const { return descriptor_; }
  bool IsFolder() const;
  bool Reads() const { return (access_ & FILE_SHARE_READ) != 0; }
  bool Writes() const { return (access_ & FILE_SHARE_WRITE) != 0; }

  /// Gives the descriptor away: its marks hold until the new owner closes it.
  int Release();

  /// \return What watches the open folder, made at the first use.
  /// \throw std::system_error when the host watches no more folders.
  std::shared_ptr<FolderWatch> Watch();

  /// Counts the mappings of the file, so that others learn of the first and the last.
  void AddMapping();
  void RemoveMapping();

 private:
  void DeleteIfLast();

  int descriptor_;
  const std::filesystem::path place_;
  const AccessKinds access_;
  const bool deletesOnClose_;
  std::mutex mappingMutex_;
  int mappings_ = 0;
  std::mutex watchMutex_;
  std::shared_ptr<FolderWatch> watch_;
};

struct OpenFile::Result {
  std::shared_ptr<OpenFile> file;  ///< Null after a failure.
  DWORD error = 0;                 ///< Of a failure.
  bool existed = false;            ///< There was a file already.
};

}  // namespace Lab
