// What the LDAP client hands out and the program gives back: sessions, results, texts. Not handles
// but pointers, so they have a table of their own.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Lab {

/// Objects in the program's hands by their addresses. Safe under threads.
class OwnedObjects {
 public:
  /// \param address  By which the program knows the object; inside it, or the object's own.
  void Add(const char* kind, const void* address, std::shared_ptr<void> object);

  /// \return True for an object of that kind that wasn't given back yet.
  bool Holds(const char* kind, const void* address) const;

  /// Takes an object back and destroys it. \return False when there's no such object.
  bool Release(const char* kind, const void* address);

  /// \return Kinds of all objects that weren't given back, sorted, for tests on leaks.
  std::vector<std::string> Kinds() const;

 private:
  struct Entry {
    std::string kind;
    std::shared_ptr<void> object;
  };

  mutable std::mutex mutex_;
  std::map<const void*, Entry> objects_;
};

/// Those of the LDAP client in this process.
OwnedObjects& DirectoryObjects();

}  // namespace Lab
