#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace wevora {

/// One folder rule of a volume. All fields of a new rule are empty, false or zero.
class WVRFSCRNode {
 public:
  using Text = std::optional<std::string>;

  WVRFSCRNode() = default;
  virtual ~WVRFSCRNode() = default;
  WVRFSCRNode(const WVRFSCRNode&) = default;
  WVRFSCRNode(WVRFSCRNode&&) = default;
  WVRFSCRNode& operator=(const WVRFSCRNode&) = default;
  WVRFSCRNode& operator=(WVRFSCRNode&&) = default;

  /// Compares identifiers. False unless the other is of this rule's class or a derived one.
  // -isEqual:
  bool isEqual(const WVRFSCRNode& other) const;

  // -description
  std::string description() const;

  const Text& fscr_id() const { return fscr_id_; }
  void setFscr_id(Text value) { fscr_id_ = std::move(value); }
  bool is_fcr() const { return is_fcr_; }
  void setIs_fcr(bool value) { is_fcr_ = value; }
  bool is_system() const { return is_system_; }
  void setIs_system(bool value) { is_system_ = value; }
  /// The full path of the rule's folder.
  const Text& root_folder() const { return root_folder_; }
  void setRoot_folder(Text value) { root_folder_ = std::move(value); }
  const Text& path_filter() const { return path_filter_; }
  void setPath_filter(Text value) { path_filter_ = std::move(value); }
  const Text& content_type() const { return content_type_; }
  void setContent_type(Text value) { content_type_ = std::move(value); }
  std::uint64_t min_size() const { return min_size_; }
  void setMin_size(std::uint64_t value) { min_size_ = value; }
  std::uint64_t max_size() const { return max_size_; }
  void setMax_size(std::uint64_t value) { max_size_ = value; }
  bool hidden() const { return hidden_; }
  void setHidden(bool value) { hidden_ = value; }
  bool system() const { return system_; }
  void setSystem(bool value) { system_ = value; }
  std::int32_t order() const { return order_; }
  void setOrder(std::int32_t value) { order_ = value; }
  bool exclude() const { return exclude_; }
  void setExclude(bool value) { exclude_ = value; }
  const Text& fc() const { return fc_; }
  void setFc(Text value) { fc_ = std::move(value); }
  const Text& parent_id() const { return parent_id_; }
  void setParent_id(Text value) { parent_id_ = std::move(value); }

 protected:
  /// Whether the other is of this object's class or a derived one. Derived classes must override
  /// it.
  virtual bool hasKindOf(const WVRFSCRNode& other) const;

 private:
  Text fscr_id_;
  bool is_fcr_ = false;
  bool is_system_ = false;
  Text root_folder_;
  Text path_filter_;
  Text content_type_;
  std::uint64_t min_size_ = 0;
  std::uint64_t max_size_ = 0;
  bool hidden_ = false;
  bool system_ = false;
  std::int32_t order_ = 0;
  bool exclude_ = false;
  Text fc_;
  Text parent_id_;
};

}  // namespace wevora
