#include "arrow/schema.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "arrow/children.h"

namespace kivo {

namespace {

constexpr const char* kTypeNameKey = "KIVO:type_name";

/// Takes the description apart, text by text.
class FieldReader {
 public:
  explicit FieldReader(const std::string& description) : at_(description.c_str()), end_(at_ + description.size()) {}

  bool more() const { return at_ < end_; }

  ArrowField field() {
    ArrowField read;
    read.format = text();
    read.name = text();
    read.typeName = text();
    for (long left = std::strtol(text().c_str(), nullptr, 10); left > 0 && more(); --left) {
      read.children.push_back(field());
    }
    return read;
  }

 private:
  std::string text() {
    std::string read = more() ? at_ : "";
    at_ += read.size() + 1;
    return read;
  }

  const char* at_;
  const char* end_;
};

void appendText(std::string& metadata, const std::string& text) {
  const auto length = static_cast<std::int32_t>(text.size());
  metadata.append(reinterpret_cast<const char*>(&length), sizeof length).append(text);
}

/// Arrow's form: the number of pairs, then each key and value after its length.
std::string metadataOf(const ArrowField& field) {
  if (field.typeName.empty()) return {};
  const std::int32_t pairs = 1;
  std::string metadata(reinterpret_cast<const char*>(&pairs), sizeof pairs);
  appendText(metadata, kTypeNameKey);
  appendText(metadata, field.typeName);
  return metadata;
}

/// What a schema points to.
struct SchemaNode {
  explicit SchemaNode(const ArrowField& field)
      : format(field.format), name(field.name), metadata(metadataOf(field)), children(field.children.size()) {
    for (std::size_t index = 0; index < field.children.size(); ++index) {
      exportSchema(field.children[index], children[index]);
    }
  }

  const std::string format;
  const std::string name;
  const std::string metadata;
  Children<ArrowSchema> children;
};

void releaseSchema(ArrowSchema* schema) {
  delete static_cast<SchemaNode*>(schema->private_data);
  schema->release = nullptr;
}

}  // namespace

ArrowField readFields(const std::string& description) {
  ArrowField root{"+s", "", "", {}};
  for (FieldReader reader(description); reader.more();) root.children.push_back(reader.field());
  return root;
}

std::size_t fieldsBelow(const ArrowField& field) {
  std::size_t count = field.children.size();
  for (const ArrowField& child : field.children) count += fieldsBelow(child);
  return count;
}

void exportSchema(const ArrowField& field, ArrowSchema& schema) {
  SchemaNode& node = *new SchemaNode(field);
  schema.format = node.format.c_str();
  schema.name = node.name.c_str();
  schema.metadata = node.metadata.empty() ? nullptr : node.metadata.c_str();
  schema.flags = field.nullable ? ARROW_FLAG_NULLABLE : 0;
  schema.n_children = node.children.count();
  schema.children = node.children.addresses();
  schema.dictionary = nullptr;
  schema.release = releaseSchema;
  schema.private_data = &node;
}

}  // namespace kivo
