#include "python/src/Module.h"

PYBIND11_MODULE(_platen, module) {
    module.doc() = "The library's services over the buffer protocol. Import `platen`, not this.";
    platen_python::AddTone(module);
    platen_python::AddHsv(module);
    platen_python::AddSharpener(module);
    platen_python::AddScaler(module);
}
