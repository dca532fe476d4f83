#pragma once
// The application object of a loadable module: started when the library is loaded and stopped when it
// is unloaded. The module defines one instance and KVX_MODULE_APPLICATION_LIFETIME ties it to the library.
namespace kvx::platform {

class ModuleApplication {
 public:
  virtual ~ModuleApplication() = default;
  // Start-up; the result says whether the module may be used.
  virtual bool InitInstance() { return true; }
  // Shut-down; the result is the module's exit code.
  virtual int ExitInstance() { return 0; }
};

// Runs InitInstance when the library is loaded and ExitInstance when it is unloaded.
class ModuleApplicationLifetime {
 public:
  explicit ModuleApplicationLifetime(ModuleApplication& app) : app_(app) { app_.InitInstance(); }
  ~ModuleApplicationLifetime() { app_.ExitInstance(); }
  ModuleApplicationLifetime(const ModuleApplicationLifetime&) = delete;
  ModuleApplicationLifetime& operator=(const ModuleApplicationLifetime&) = delete;

 private:
  ModuleApplication& app_;
};

}  // namespace kvx::platform
