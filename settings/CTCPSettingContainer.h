#pragma once

#include <istream>
#include <string>
#include <vector>

#include "settings/CTCPSetting.h"

// A tunable whose one file holds several values: the first is the container's own, each further one
// belongs to a child. Children are settings in their own right, with an element name of their own;
// only their file is the container's business.
//
// Neither side owns the other: the layer owns them all and destroys each once, in any order. A
// container never has a parent.
class CTCPSettingContainer : public CTCPSetting {
 public:
  // As for CTCPSetting, with a null parent and no children.
  CTCPSettingContainer(const char* name, const char* default_value, const char* proc_file_name,
                       const char* element_name);

  // Appends `child`, whose value follows in the file; nothing is tested. The child's link to this
  // container is made by the child's own constructor.
  void AddChild(CTCPSetting* child);

  // Answers the container's own value and then every child's, in order, joined by single blanks. An
  // empty value is not skipped.
  std::string GetWriteValue() const override;

  // Reads the container's word and then each child's. The children that the stream has no word for
  // keep their previous value; words beyond the last child stay unread.
  void ReadValue(std::istream& stream) override;

 private:
  std::vector<CTCPSetting*> children_;
};
