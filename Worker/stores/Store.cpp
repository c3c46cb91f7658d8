#include "Worker/stores/Store.h"

#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {

Outcome Treatment::operator()(const std::string& path, const Kept& kept) const {
  if (ofUnkept_ == nullptr) return ofEverything_(path);
  if (!kept.sites.isUnknown()) return ofUnkept_(path, kept);
  return GrantedFiles::isThere(path) ? Outcome{Left::kListNotReadable} : Outcome();
}

}  // namespace tidewell
