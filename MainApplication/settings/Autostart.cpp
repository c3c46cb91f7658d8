#include "MainApplication/settings/Autostart.h"

#include <glib.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace tidewell {
namespace {

namespace fs = std::filesystem;

constexpr char kEntry[] = "/autostart/tidewell-worker.desktop";
constexpr char kMask[] = "/systemd/user/graphical-session.target.wants/tidewell-worker.service";
constexpr char kNothing[] = "/dev/null";

/// Whether the entry says that it does not count.
bool isHidden(const std::string& entry) {
  GKeyFile* file = g_key_file_new();
  const bool hides = g_key_file_load_from_file(file, entry.c_str(), G_KEY_FILE_NONE, nullptr) != FALSE &&
                     g_key_file_get_boolean(file, G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr);
  g_key_file_free(file);
  return hides;
}

bool write(const std::string& path, const std::string& lines) {
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  std::ofstream file(path);
  file << "[Desktop Entry]\nType=Application\nName=Tidewell\n" << lines;
  file.close();
  return !file.fail();
}

bool isMask(const std::string& path) {
  std::error_code error;
  return fs::read_symlink(path, error) == kNothing;
}

}  // namespace

Autostart::Autostart(const std::string& configuration, std::string program)
    : entry_(configuration + kEntry), mask_(configuration + kMask), program_(std::move(program)) {}

bool Autostart::isInstalled() const {
  std::error_code error;
  for (const char* const* folder = g_get_system_config_dirs(); *folder != nullptr; ++folder) {
    if (fs::exists(std::string(*folder) + kEntry, error)) return true;
  }
  return false;
}

bool Autostart::isOn() const {
  std::error_code error;
  return fs::exists(entry_, error) ? !isHidden(entry_) : isInstalled();
}

bool Autostart::set(bool on) const {
  std::error_code error;
  if (!on) {
    fs::create_directories(fs::path(mask_).parent_path(), error);
    if (!fs::exists(fs::symlink_status(mask_, error))) fs::create_symlink(kNothing, mask_, error);
    return write(entry_, "Hidden=true\n");
  }
  if (isMask(mask_)) fs::remove(mask_, error);
  if (isHidden(entry_)) fs::remove(entry_, error);
  if (isOn()) return true;
  return write(entry_, "NoDisplay=true\nExec=\"" + program_ + "\"\n");
}

}  // namespace tidewell
