#pragma once

#include <istream>
#include <string>

// One TCP/IP tunable of the kernel: its names, its built-in default, the value to be written and
// the value that was read. Values are text from end to end; none is parsed or checked.
//
// The record names its file but never opens it: the layer does, and hands a stream to ReadValue.
// The layer owns every record and destroys it through the virtual destructor. Names, default and
// parent never change. For the layer's thread only.
//
// The order of the virtual operations and of the data is the record's binary layout, and fixed.
class CTCPSetting {
 public:
  // Copies the three texts, which must not be null, and starts with the default as value and as
  // previous value. `element_name` is the host's interned name and must outlive the record.
  // `parent` is the container that holds this value in its file, null for a record with a file of
  // its own. Mind the order: the default comes before the file.
  CTCPSetting(const char* name, const char* default_value, const char* proc_file_name,
              const char* element_name, const CTCPSetting* parent);
  virtual ~CTCPSetting() = default;
  CTCPSetting(const CTCPSetting&) = delete;
  CTCPSetting& operator=(const CTCPSetting&) = delete;

  // Answers the exact text of the tunable's file: no newline, no addition.
  virtual std::string GetWriteValue() const;

  // Reads the next whitespace-delimited word of `stream` into the previous value; the rest stays in
  // the stream. With no word left the previous value stays, and the stream's state tells.
  virtual void ReadValue(std::istream& stream);

  // Answers the full path of the tunable's file.
  virtual std::string GetProcPath() const;

  // Value becomes the default.
  void SetDefault();

  // Value becomes the previous value (the previous value itself is set by ReadValue alone).
  void SetPrev();

  // Value becomes a copy of `text`, which must not be null.
  void SetValue(const char* text);

  // The texts belong to the record, each valid until its field is next changed.
  const char* GetName() const { return name_.c_str(); }
  const char* GetValue() const { return value_.c_str(); }
  const char* GetPrevValue() const { return previous_value_.c_str(); }

  // Answers the element name's own pointer: it is compared by address, never by text.
  const char* GetXmlName() const { return element_name_; }

  bool HasParent() const { return parent_ != nullptr; }

 protected:
  // The tunable's file name without its directory.
  const std::string& GetProcFileName() const { return proc_file_name_; }

 private:
  std::string name_;
  std::string proc_file_name_;
  std::string default_value_;
  std::string value_;
  std::string previous_value_;
  const char* element_name_;
  const CTCPSetting* parent_;
};
