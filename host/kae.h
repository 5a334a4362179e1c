// The host's classes: what a plug-in derives from and what it is called with.
//
// This is a binary interface. The order of bases, of virtual operations and of data decides the
// layout that the host was compiled against, so nothing here may be moved, added or removed. The
// host cross-casts between these classes at run time, in its own library and in ours, which is why
// they keep default visibility whatever flags a plug-in is built with, and why a plug-in needs
// run-time type information.
//
// Code in the host library: ~kaePlugin, kaeCPLayer(), ~kaeCPLayer and the operations of kaeRequest.
// Everything else is declared whole here.

#pragma once

#include <cstdint>
#include <string>

struct kaml_content;

#pragma GCC visibility push(default)

// The handle of one request. It belongs to the host and is valid until the callback that brought it
// returns. A request is answered once; both operations answer whether the host took the reply.
class kaeRequest {
 public:
  // Answers the request with success. `body` is the reply's content, null for none.
  bool SendSuccess(kaml_content* body);

  // Answers the request with an error: a short text first, then what happened in detail.
  bool SendError(const std::string& error, const std::string& detail);
};

// A layer of the control plane. The host owns it from the factory's answer until it calls the
// layer's do_Release, and reaches the callbacks by a dynamic_cast to each interface, so a layer
// derives publicly from kaeCPLayer and from every callback interface that it offers. Calls into one
// layer never overlap.
class kaeCPLayer {
 public:
  kaeCPLayer();
  virtual ~kaeCPLayer();
  kaeCPLayer(const kaeCPLayer&) = delete;
  kaeCPLayer& operator=(const kaeCPLayer&) = delete;

  class ConfigureCB {
   public:
    // Serves one request, never null. `content` is the first top-level content of its document,
    // null for none. Both stay the host's. Answers false when the request was not carried through.
    virtual bool do_Configure(kaeRequest* request, const kaml_content* content) = 0;

   protected:
    ~ConfigureCB() = default;
  };

  class ReleaseCB {
   public:
    // Ends the layer, which destroys itself: the host must not touch it afterwards.
    virtual void do_Release() = 0;

   protected:
    ~ReleaseCB() = default;
  };

  class StartCB {
   public:
    virtual void do_Start() = 0;

   protected:
    ~StartCB() = default;
  };

  class StopCB {
   public:
    virtual void do_Stop() = 0;

   protected:
    ~StopCB() = default;
  };
};

// Who a plug-in is. Callable from any thread; each call answers a new string.
class kaeVersionInfo {
 public:
  virtual std::string GetName() const = 0;
  virtual std::string GetVersion() const = 0;

 protected:
  ~kaeVersionInfo() = default;
};

// A plug-in as the host loads and unloads it.
class kaePlugin : public virtual kaeVersionInfo {
 public:
  kaePlugin() : host_words_{0, 0, 1} {}
  virtual ~kaePlugin();
  kaePlugin(const kaePlugin&) = delete;
  kaePlugin& operator=(const kaePlugin&) = delete;

  // Called after loading; answers whether the plug-in is ready.
  virtual bool InitPlugin() = 0;

  // Called before unloading.
  virtual void CleanupPlugin() = 0;

 private:
  // The host's own; a plug-in neither reads nor writes them.
  [[maybe_unused]] std::uintptr_t host_words_[3];
};

// Makes layers.
class kaeCPLayerFactory : public virtual kaeVersionInfo {
 public:
  // Answers a new layer, which belongs to the host from then on. Failure is an exception.
  virtual kaeCPLayer* GetNewLayer() = 0;

 protected:
  ~kaeCPLayerFactory() = default;
};

// A control-plane plug-in: loaded as a plug-in, asked for layers as a factory.
class kaeCPPlugin : public kaePlugin, public kaeCPLayerFactory {};

// The one symbol that a plug-in exports, and the host's only way in: the address of its plug-in
// object. The object can be used once the library's static constructors have run; it belongs to the
// plug-in and goes with its library.
extern "C" kaePlugin* this_kae_plugin;

#pragma GCC visibility pop
