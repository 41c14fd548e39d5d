#include <vector>

#include <quarv/term/declared_sorts.h>

namespace quarv {

void for_each_declared_sort(const TermManager& manager, const DataType* sort,
                            const std::function<void(const DataType*, std::size_t)>& visit,
                            std::set<const DataType*>& seen) {
  std::vector<const DataType*> pending{sort};
  while (!pending.empty()) {
    const DataType* type = pending.back();
    pending.pop_back();
    if (manager.is_bv_type(type) || manager.is_fp_type(type) || !seen.insert(type).second) continue;
    if (!type->is_constructed()) {
      const bool predefined = type == manager.bool_type || type == manager.int_type ||
                              type == manager.rat_type || type == manager.rounding_mode_type;
      if (!predefined) visit(type, 0);
      continue;
    }
    const DataType* constructor = type->get_component(0);
    if (constructor != manager.array_type_ctor) visit(constructor, type->components.size() - 1);
    pending.insert(pending.end(), type->components.begin() + 1, type->components.end());
  }
}

}  // namespace quarv
