// Module loading: dlopen, the entry point's load and unload messages, and the lock that keeps
// a module loaded until it unlocks itself.
#include <dlfcn.h>

#include <string>

#include "common/encoding.h"
#include "common/fileio.h"
#include "host/api/rx.h"
#include "host/embedded/modules/modules.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::modules::Module;
using kwhost::modules::Modules;

std::wstring DlError() {
  const char* text = dlerror();
  return text ? kw::FromUtf8(text) : std::wstring(L"unknown error");
}

void SetError(std::wstring* error, const std::wstring& text) {
  if (error) *error = text;
}

// Sends kUnloadAppMsg to the module at `index`, takes it out of the list and closes it.
void Unload(size_t index) {
  auto& modules = Modules().loaded;
  Module m = modules[index];
  m.entry(AcRx::kUnloadAppMsg, m.handle);
  // The unload handler may itself have changed the list: look the module up again.
  for (size_t i = 0; i < modules.size(); ++i) {
    if (modules[i].handle == m.handle) {
      modules.erase(modules.begin() + static_cast<std::ptrdiff_t>(i));
      break;
    }
  }
  dlclose(m.handle);
}

}  // namespace

namespace kwhost::modules {

State& Modules() {
  static State state;
  return state;
}

Module* FindByHandle(void* handle) {
  for (Module& m : Modules().loaded) {
    if (handle && m.handle == handle) return &m;
  }
  return nullptr;
}

void UnloadAll() {
  while (!Modules().loaded.empty()) Unload(Modules().loaded.size() - 1);
}

void Reset() {
  UnloadAll();
}

}  // namespace kwhost::modules

namespace kwhost {

bool LoadModule(const std::wstring& path, std::wstring* error) {
  for (const Module& m : Modules().loaded) {
    if (m.path == path) return true;
  }
  void* handle = dlopen(kw::NativePath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    SetError(error, DlError());
    return false;
  }
  for (const Module& m : Modules().loaded) {
    if (m.handle == handle) {  // the same file under another name
      dlclose(handle);
      return true;
    }
  }
  auto entry = reinterpret_cast<AcRxEntryPointFn>(dlsym(handle, "acrxEntryPoint"));
  if (!entry) {
    dlclose(handle);
    SetError(error, path + L": 找不到入口函数 acrxEntryPoint");
    return false;
  }
  Modules().loaded.push_back(Module{path, handle, entry});
  if (entry(AcRx::kInitAppMsg, handle) != AcRx::kRetOK) {
    auto& modules = Modules().loaded;
    std::erase_if(modules, [&](const Module& m) { return m.handle == handle; });
    dlclose(handle);
    SetError(error, path + L": 模块初始化失败");
    return false;
  }
  return true;
}

bool UnloadModule(const std::wstring& path) {
  auto& modules = Modules().loaded;
  for (size_t i = 0; i < modules.size(); ++i) {
    if (modules[i].path != path) continue;
    if (modules[i].locked) return false;
    Unload(i);
    return true;
  }
  return false;
}

void UnloadModules() {
  modules::UnloadAll();
}

std::vector<std::wstring> LoadedModules() {
  std::vector<std::wstring> paths;
  for (const Module& m : Modules().loaded) paths.push_back(m.path);
  return paths;
}

}  // namespace kwhost
