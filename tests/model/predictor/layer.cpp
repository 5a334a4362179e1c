#include "tests/model/predictor/layer.h"

namespace model {

namespace {

constexpr int kTextNode = 0;
constexpr int kElement = 1;

// The text up to its first NUL, which is all that the host can pass.
std::string HostText(const std::string& text) { return text.substr(0, text.find('\0')); }

std::string NameOf(const Node& content) {
  return content.name_kind == Node::kNull ? "" : HostText(content.name);
}

bool IsNamed(const Node& element, const char* interned) {
  return element.name_kind == Node::kInterned && NameOf(element) == interned;
}

}  // namespace

Layer::Layer(Surroundings& surroundings) : surroundings_(&surroundings) {
  surroundings_->Call("kaeCPLayer()");
  surroundings_->Call("kaml_intern tcp-settings");
  for (const Row& row : kCatalogue) {
    surroundings_->Call(std::string("kaml_intern ") + row.name);
    settings_.push_back({&row, row.fallback, row.fallback});
  }
  TakeSnapshot();
  SetToPrevious();
  SetDefaults();
}

void Layer::SetDefaults() {
  for (Setting& setting : settings_) {
    if (setting.row->reset) {
      setting.value = setting.row->fallback;
    }
  }
}

bool Layer::Configure(const std::vector<Node>& document, bool answer) {
  for (const Node& content : document) {
    if (TypeOf(content) == kElement && !HandleRequest(content)) {
      return false;
    }
    surroundings_->Call("kaml_cont_next");
  }
  surroundings_->SendSuccess();
  return answer;
}

bool Layer::HandleRequest(const Node& content) {
  if (TypeOf(content) != kElement) {
    return false;
  }
  surroundings_->Call("kaml_elem_name");
  if (!IsNamed(content, "tcp-settings")) {
    return false;
  }
  surroundings_->Call("kaml_elem_contents");
  return HandleConfig(content.contents);
}

bool Layer::HandleConfig(const std::vector<Node>& children) {
  surroundings_->PrintLine("received TCP_Settings command");
  for (const Node& child : children) {
    TakeChild(child);
    surroundings_->Call("kaml_cont_next");
  }
  return WriteConfig(Policy::kRollBack);
}

void Layer::TakeChild(const Node& child) {
  surroundings_->Call("kaml_elem_name");
  if (TypeOf(child) != kElement) {
    surroundings_->PrintLine("Unknown element: " + NameOf(child));
    return;
  }
  surroundings_->Call("kaml_elem_contents");
  if (child.contents.empty()) {
    return;
  }
  const Node& content = child.contents.front();
  if (TypeOf(content) != kTextNode) {
    surroundings_->PrintLine("Content not text. Element: " + NameOf(child));
    return;
  }
  Setting* const setting = Find(child);
  if (setting == nullptr) {
    return;
  }
  surroundings_->Call("kaml_text");
  setting->value = HostText(content.text);
  surroundings_->PrintLine(std::string("Setting new value - ") + setting->row->name + " = " +
                           setting->value);
}

Layer::Setting* Layer::Find(const Node& element) {
  for (Setting& setting : settings_) {
    if (IsNamed(element, setting.row->name)) {
      return &setting;
    }
  }
  return nullptr;
}

void Layer::Release() {
  WritePrevious();
  surroundings_->Call("~kaeCPLayer");
}

int Layer::TypeOf(const Node& content) {
  surroundings_->Call("kaml_cont_type");
  return content.type;
}

}  // namespace model
