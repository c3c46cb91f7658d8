#include "MainApplication/panel/PanelRequest.h"

#include <giomm/file.h>

#include <map>

namespace tidewell {
namespace {

using Dictionary = std::map<Glib::ustring, Glib::VariantBase>;

template <typename T>
T valueOf(const Dictionary& dictionary, const char* key) {
  const auto found = dictionary.find(key);
  using Type = Glib::Variant<T>;
  if (found == dictionary.end() || !found->second.is_of_type(Type::variant_type())) return {};
  return Glib::VariantBase::cast_dynamic<Type>(found->second).get();
}

}  // namespace

PanelRequest PanelRequest::fromVariant(const Glib::VariantBase& panel) {
  const auto dictionary = Glib::VariantBase::cast_dynamic<Glib::Variant<Dictionary>>(panel).get();
  PanelRequest request;
  request.title = valueOf<Glib::ustring>(dictionary, "title");
  request.message = valueOf<Glib::ustring>(dictionary, "message");
  request.prompt = valueOf<Glib::ustring>(dictionary, "prompt");
  request.comesToTheFront = valueOf<bool>(dictionary, "activateIgnoringOtherApps");
  request.offersNever = valueOf<bool>(dictionary, "never");
  for (const Glib::ustring& url : valueOf<std::vector<Glib::ustring>>(dictionary, "enabled")) {
    const auto file = Gio::File::create_for_uri(url);
    const bool exists = file->query_file_type() == Gio::FileType::DIRECTORY;
    request.choices.push_back({url, file->get_parse_name(), exists});
  }
  return request;
}

int PanelRequest::preselected() const {
  for (std::size_t index = 0; index < choices.size(); ++index) {
    if (choices[index].exists) return static_cast<int>(index);
  }
  return -1;
}

}  // namespace tidewell
