#pragma once

#include <iosfwd>
#include <map>
#include <string>

#include "host/kae.h"

class CTCPSetting;

// The layer that the host configures: it turns documents into the kernel's TCP/IP tunables and
// gives the kernel back, on release or when a file cannot be opened, the values that it found.
//
// A layer knows 57 settings, its catalogue. It creates them in its constructor, owns each through
// the settings map and deletes them in its destructor; between the two only values change. The
// values that the kernel had at construction, the snapshot, stay the same for the layer's whole
// life, so a rollback also undoes earlier requests that succeeded.
//
// The host owns the layer until do_Release, with which the layer deletes itself. No threads, no
// locks: the host calls one operation at a time. Progress is told on standard output,
// name-and-value lines by printf and all others by std::cout with a flush, so the two must stay
// synchronised.
//
// The order of bases and of virtual operations is part of the binary interface.
class kaTCPLayer : public kaeCPLayer,
                   public kaeCPLayer::ConfigureCB,
                   public kaeCPLayer::ReleaseCB,
                   public kaeCPLayer::StartCB,
                   public kaeCPLayer::StopCB {
 public:
  // Builds the catalogue, takes the snapshot and sets the starting values: the kernel's own, but
  // for the fifteen settings that start from their default. Writes nothing to the kernel.
  //
  // A kernel file that cannot be read is no failure. An exception (exhausted memory, or one from
  // kaml_intern) passes to the caller, and the settings created so far are not deleted.
  kaTCPLayer();

  // Deletes every setting; writes and prints nothing.
  ~kaTCPLayer() override;

  // --- kaeCPLayer::ConfigureCB, StartCB, StopCB, ReleaseCB ---

  // Applies every top-level "tcp-settings" element of the document in turn, then answers the whole
  // request with one success reply and returns what SendSuccess returned. A file error ends it with
  // an error reply, an element of another name with no reply at all; both return false.
  bool do_Configure(kaeRequest* request, const kaml_content* content) override;

  // Nothing to do: a layer works from its construction on.
  void do_Start() override;
  void do_Stop() override;

  // Writes the snapshot back to the kernel and deletes the layer.
  void do_Release() override;

 protected:
  // --- Requests ---

  // Applies one top-level content. False when it is no "tcp-settings" element (no reply is sent) or
  // when a file failed (the error reply has been sent).
  bool HandleRequest(kaeRequest* request, const kaml_content* content);

  // Stores the values of the elements from `first` on and writes the whole catalogue; the result is
  // that of WriteConfig.
  bool HandleConfig(kaeRequest* request, const kaml_content* first);

  // --- Writing ---

  // Writes every top-level setting to its file; a missing file is skipped. With a request, the
  // first file that cannot be opened ends the pass: rollback, error reply, false. Without one (a
  // null pointer, which is how a rollback writes) it is only printed, and the result is true. What
  // becomes of a write after a good open is not looked at. `request` is neither kept nor freed.
  bool WriteConfig(kaeRequest* request);

  // Ends a pass that failed on `path`: prints the error that errno holds on entry, rolls back,
  // answers `request` (null: no answer) with that error and closes `stream`. Always false.
  bool SendFileError(std::ofstream& stream, const std::string& path, kaeRequest* request);

  // The rollback: every setting takes its previous value and the whole catalogue is written.
  void WritePrevious();

  // --- Snapshot and starting values ---

  // Reads every top-level setting's file into its previous value. A file that cannot be opened is
  // printed and leaves its settings as they were, with their defaults. Always true.
  bool GetPreviousSettings();

  // Every value becomes its previous value; no file is touched.
  void SetToPrevious();

  // The fifteen settings that start from their default take it.
  void SetDefaults();

  // Every setting of the catalogue, keyed by the address of its name constant and compared as an
  // address: every pass walks the settings in the order in which the constants lie in memory, which
  // is the catalogue's. An element is found by its interned name, never by this key.
  std::map<const char*, CTCPSetting*> settings_;

  // The interned name of the one top-level element that the layer serves.
  const char* root_element_name_;
};
