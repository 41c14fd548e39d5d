#include "terms.h"

namespace quarv::python {

namespace {

/// A place among `width` bits; those below zero count from the end, as everywhere in Python.
std::size_t bit_at(const PyTerm& self, py::handle key, std::size_t width) {
  const auto index = py::reinterpret_steal<py::object>(PyNumber_Index(key.ptr()));
  if (!index) throw py::error_already_set();
  const Py_ssize_t given = PyNumber_AsSsize_t(index.ptr(), nullptr);  // what does not fit is far outside
  const auto end = static_cast<Py_ssize_t>(width);
  const Py_ssize_t place = given < 0 ? given + end : given;
  if (place < 0 || place >= end) {
    throw BoundsError("a term of sort " + self.sort()->abbreviated() + " has no bit " + shown(index));
  }
  return static_cast<std::size_t>(place);
}

std::size_t width_of(const PyTerm& self, const char* what) {
  TermManager& m = self.manager();
  const DataType* sort = self.sort();
  if (!m.is_bv_type(sort)) throw py::type_error("terms of sort " + sort->abbreviated() + " have no " + what);
  return m.get_width_from_type(sort);
}

}  // namespace

PyTerm item(const PyTerm& self, const py::object& key) {
  TermManager& m = self.manager();
  const DataType* sort = self.sort();
  if (m.is_array_type(sort)) {
    const PyTerm index = as_term(self.session, key, sort->get_component(1));
    const Term* args[] = {self.term, index.term};
    return self.with(self.session->reader.make("select", args));
  }
  const std::size_t width = width_of(self, "parts");
  if (!py::isinstance<py::slice>(key)) {
    const std::size_t bit = bit_at(self, key, width);
    return self.with(m.make_bv_extract(bit, bit, self.term));
  }
  if (!key.attr("step").is_none()) throw py::type_error("bits are given as x[high:low]");
  const py::object start = key.attr("start");
  const py::object stop = key.attr("stop");
  const std::size_t high = start.is_none() ? width - 1 : bit_at(self, start, width);
  const std::size_t low = stop.is_none() ? 0 : bit_at(self, stop, width);
  if (high < low) {
    throw BoundsError("bits are given as x[high:low], both included, not x[" + std::to_string(high) + ':' +
                      std::to_string(low) + ']');
  }
  return self.with(m.make_bv_extract(high, low, self.term));
}

py::iterator bits(const PyTerm& self) {
  const std::size_t width = width_of(self, "bits to go through");
  py::tuple result(width);
  for (std::size_t i = 0; i < width; ++i) {
    result[i] = py::cast(self.with(self.manager().make_bv_extract(i, i, self.term)));
  }
  return py::iter(result);
}

std::size_t num_bits(const PyTerm& self) {
  return width_of(self, "length");
}

}  // namespace quarv::python
