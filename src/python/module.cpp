// wzss._wzss: the Python package's native part. Each function opens the
// workbook with the interpreter's lock held (so a file that cannot be opened
// is an OSError with its errno), walks it into plain C++ tables with the
// lock released (so other threads run, and may read other workbooks), and
// only then builds Python objects: numpy columns for pandas, or tuples for
// the per-cell interface. The pure-Python part (wzss/__init__.py) shapes
// these into DataFrames.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "cell_table.h"
#include "cli/csv_writer.h"
#include "cli/dump_format.h"
#include "cli/html_writer.h"
#include "cli/json_writer.h"
#include "cli/output_files.h"
#include "cli/sheet_model.h"
#include "cli/xlsx_writer.h"
#include "wzss/host/file_stream.h"
#include "wzss/host/plugin.h"
#include "wzss/host/services.h"
#include "wzss/host/walker.h"

namespace py = pybind11;

namespace wzss::python {
namespace {

// wzss.Error: the workbook could be opened but not read as one.
class WorkbookError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A frame of more cells than this would take over a gigabyte of pointers
// for a sheet whose last text sits far from the rest: refused, not tried.
constexpr uint64_t kMaxGridCells = uint64_t{1} << 27;

[[noreturn]] void raiseWorkbookError(const std::string& path, const std::string& reason) {
  throw WorkbookError(path + ": " + reason);
}

// OSError(errno, reason, path), which Python turns into FileNotFoundError,
// PermissionError, IsADirectoryError...; a plain OSError without errno.
[[noreturn]] void raiseOsError(const std::string& path, const std::string& reason, int code) {
  py::object oserror = py::module_::import("builtins").attr("OSError");
  py::object error = code != 0 ? oserror(code, reason, path) : oserror(path + ": " + reason);
  // The instance's own type: OSError(errno, ...) makes a FileNotFoundError.
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
  throw py::error_already_set();
}

std::unique_ptr<host::FileStream> openFile(const std::string& path) {
  errno = 0;
  std::string reason;
  auto file = host::FileStream::open(path, &reason);
  if (file) return file;
  int code = errno;
  if (reason == "is a directory") {
    code = EISDIR;
    reason = std::strerror(code);
  }
  if (code != 0 && reason != std::strerror(code)) code = 0;
  raiseOsError(path, reason, code);
}

// The plug-in, loaded once by the package and handed to every call.
class PluginHandle {
 public:
  explicit PluginHandle(const std::string& path) : plugin_(host::Plugin::load(path)) {
    if (!plugin_.ok()) throw WorkbookError(plugin_.error());
  }
  const SSReaderInterface& table() const { return plugin_.table(); }

 private:
  host::Plugin plugin_;
};

// A file stream, services and a walker over one workbook, with the sheet list.
struct OpenWorkbook {
  OpenWorkbook(const PluginHandle& plugin, const std::string& path, host::WalkOptions options)
      : file(openFile(path)) {
    services.setBaseFolder(std::filesystem::path(path).parent_path().string());
    walker = std::make_unique<host::Walker>(plugin.table(), file->get(), services.get(), options);
  }
  std::unique_ptr<host::FileStream> file;
  host::Services services;
  std::unique_ptr<host::Walker> walker;
};

// What the cell tables need: no objects, no styles.
host::WalkOptions textOnly(const std::string& encoding) {
  host::WalkOptions options;
  options.readerFlags = 1;
  options.cellStyles = false;
  options.encoding = encoding;
  return options;
}

// What the walker assumed or repaired (an unknown encoding, bytes it
// replaced) reaches the user as Python warnings.
void warn(const std::string& path, const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings)
    if (PyErr_WarnEx(PyExc_UserWarning, (path + ": " + warning).c_str(), 2) != 0)
      throw py::error_already_set();
}

CellTable readTable(const PluginHandle& plugin, const std::string& path, const SheetChoice& choice,
                    const std::string& encoding, bool inferValues) {
  OpenWorkbook book(plugin, path, textOnly(encoding));
  std::optional<host::Result<CellTable>> table;
  {
    py::gil_scoped_release unlocked;
    if (auto sheets = book.walker->open(); !sheets)
      table.emplace(sheets.error());
    else
      table.emplace(readCellTable(*book.walker, choice, inferValues));
  }
  if (!*table) raiseWorkbookError(path, table->error().message);
  warn(path, book.walker->warnings());
  return std::move(table->value());
}

// The walker hands out UTF-8 and has replaced what it could not convert;
// anything still wrong becomes U+FFFD rather than an error.
PyObject* utf8(std::string_view text) {
  PyObject* decoded =
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
  if (decoded == nullptr) throw py::error_already_set();
  return decoded;
}

py::object utf8Object(std::string_view text) { return py::reinterpret_steal<py::object>(utf8(text)); }

// A numpy object array filled slot by slot with new references.
class ObjectColumn {
 public:
  explicit ObjectColumn(std::vector<py::ssize_t> shape)
      : array_(py::dtype("O"), shape),
        slots_(static_cast<PyObject**>(array_.mutable_data())) {
    for (py::ssize_t i = 0; i < array_.size(); ++i) set(i, Py_NewRef(Py_None));
  }
  // Takes the reference.
  void set(py::ssize_t index, PyObject* value) {
    PyObject* old = slots_[index];
    slots_[index] = value;
    Py_XDECREF(old);
  }
  py::array& array() { return array_; }

 private:
  py::array array_;
  PyObject** slots_;
};

// Typed values as Python objects: numbers as float, dates and date-times
// as pandas Timestamps, times of day as datetime.time, texts as str.
class ValueMaker {
 public:
  ValueMaker()
      : timestamp_(py::module_::import("pandas").attr("Timestamp")),
        time_(py::module_::import("datetime").attr("time").attr("fromisoformat")) {
    for (auto type : {host::ValueType::Text, host::ValueType::Number, host::ValueType::Date,
                      host::ValueType::Time, host::ValueType::DateTime})
      names_.push_back(py::str(typeName(type)));
  }

  // The value of a cell whose text is already the str object text.
  PyObject* value(host::ValueType type, double number, PyObject* text) const {
    switch (type) {
      case host::ValueType::Text: return Py_NewRef(text);
      case host::ValueType::Number: return PyFloat_FromDouble(number);
      default: break;
    }
    // A Timestamp costs microseconds and dates repeat down a column: each
    // distinct one is made once (they are immutable, so sharing is safe).
    const auto key = std::make_pair(type, number);
    if (auto known = made_.find(key); known != made_.end()) return Py_NewRef(known->second.ptr());
    const std::string iso = host::isoText(host::TypedValue{type, number, {}});
    py::object made = (type == host::ValueType::Time ? time_ : timestamp_)(iso);
    if (made_.size() < kMaxShared) made_.emplace(key, made);
    return made.release().ptr();
  }
  // "text", "number", "date", "time" or "datetime".
  PyObject* typeObject(host::ValueType type) const {
    return Py_NewRef(names_[static_cast<size_t>(type)].ptr());
  }

 private:
  static const char* typeName(host::ValueType type) {
    switch (type) {
      case host::ValueType::Number: return "number";
      case host::ValueType::Date: return "date";
      case host::ValueType::Time: return "time";
      case host::ValueType::DateTime: return "datetime";
      default: return "text";
    }
  }
  static constexpr size_t kMaxShared = 1 << 16;
  py::object timestamp_, time_;
  std::vector<py::str> names_;
  mutable std::map<std::pair<host::ValueType, double>, py::object> made_;
};

// "B3" without a formatter: built for every cell of a large sheet.
PyObject* addressText(uint32_t column, uint32_t row) {
  if (column == 0) {
    const std::string address = cli::cellAddress(column, row);
    return PyUnicode_FromStringAndSize(address.data(), static_cast<Py_ssize_t>(address.size()));
  }
  char buffer[24];
  char* end = buffer + sizeof buffer;
  char* start = end;
  do {
    *--start = static_cast<char>('0' + row % 10);
    row /= 10;
  } while (row != 0);
  for (uint64_t rest = column; rest != 0; rest = (rest - 1) / 26)
    *--start = static_cast<char>('A' + (rest - 1) % 26);
  return PyUnicode_FromStringAndSize(start, end - start);
}

py::dict cellColumns(const CellTable& table, const std::string& path) {
  const ValueMaker values;
  py::ssize_t count = 0;
  for (const SheetCells& sheet : table.sheets) count += static_cast<py::ssize_t>(sheet.cells.size());
  py::array_t<uint32_t> rows(count), columns(count);
  ObjectColumn sheets({count}), addresses({count}), texts({count}), typed({count}),
      types({count}), files({count});
  auto* row = rows.mutable_data();
  auto* column = columns.mutable_data();
  py::str file(path);
  py::ssize_t i = 0;
  for (const SheetCells& sheet : table.sheets) {
    py::object name = utf8Object(sheet.info.name);
    for (const CellEntry& cell : sheet.cells) {
      row[i] = cell.row;
      column[i] = cell.column;
      sheets.set(i, Py_NewRef(name.ptr()));
      addresses.set(i, addressText(cell.column, cell.row));
      if (cell.hasText) {
        PyObject* text = utf8(sheet.text(cell));
        texts.set(i, text);
        typed.set(i, values.value(cell.type, cell.number, text));
      }
      // A cell without text (a hidden one) is a text cell without value, as in the JSON.
      types.set(i, values.typeObject(cell.type));
      files.set(i, Py_NewRef(file.ptr()));
      ++i;
    }
  }
  py::dict out;
  out["sheet"] = sheets.array();
  out["row"] = rows;
  out["column"] = columns;
  out["address"] = addresses.array();
  out["text"] = texts.array();
  out["value"] = typed.array();
  out["type"] = types.array();
  out["file"] = files.array();
  return out;
}

// The grid of a sheet at output positions: row r, column c at [r-1, c-1],
// up to the last text; without hidden lines, the shown ones close up.
py::array sheetGrid(const SheetCells& sheet, bool keepHidden, const std::string& path,
                    const ValueMaker* values) {
  auto [lastRow, lastColumn] = sheet.textExtent();
  uint64_t rows = lastRow, columns = lastColumn;
  if (!keepHidden) {
    rows -= sheet.hiddenRows.countBefore(uint64_t{lastRow} + 1);
    columns -= sheet.hiddenColumns.countBefore(uint64_t{lastColumn} + 1);
  }
  if (rows * columns > kMaxGridCells)
    raiseWorkbookError(path, "sheet \"" + sheet.info.name + "\": a grid of " + std::to_string(rows) +
                                 " x " + std::to_string(columns) +
                                 " cells is too large for a frame (read_cells reads it)");
  ObjectColumn grid({static_cast<py::ssize_t>(rows), static_cast<py::ssize_t>(columns)});
  for (const CellEntry& cell : sheet.cells) {
    if (cell.textLength == 0 || cell.row == 0 || cell.column == 0 || cell.row > lastRow ||
        cell.column > lastColumn)
      continue;
    uint64_t r = cell.row - 1, c = cell.column - 1;
    if (!keepHidden) {
      if (sheet.hiddenRows.contains(cell.row) || sheet.hiddenColumns.contains(cell.column)) continue;
      r -= sheet.hiddenRows.countBefore(cell.row);
      c -= sheet.hiddenColumns.countBefore(cell.column);
    }
    PyObject* text = utf8(sheet.text(cell));
    if (values) {
      PyObject* value = values->value(cell.type, cell.number, text);
      Py_DECREF(text);
      text = value;
    }
    grid.set(static_cast<py::ssize_t>(r * columns + c), text);
  }
  return grid.array();
}

SheetChoice sheetChoice(const py::object& sheet) {
  if (sheet.is_none()) return std::monostate{};
  if (py::isinstance<py::str>(sheet)) return sheet.cast<std::string>();
  const auto index = sheet.cast<int64_t>();
  if (index < 0) throw py::index_error("sheet index must be 0 or more");
  return static_cast<size_t>(index);
}

py::dict readCells(const PluginHandle& plugin, const std::string& path, const std::string& encoding) {
  return cellColumns(readTable(plugin, path, std::monostate{}, encoding, true), path);
}

// [(sheet name, 2-D object array)] for every sheet, or the one chosen.
py::list readGrids(const PluginHandle& plugin, const std::string& path, const py::object& sheet,
                   bool keepHidden, bool typed, const std::string& encoding) {
  const SheetChoice choice = sheetChoice(sheet);
  const CellTable table = readTable(plugin, path, choice, encoding, typed);
  std::optional<ValueMaker> values;
  if (typed) values.emplace();
  py::list out;
  for (const SheetCells& cells : table.sheets)
    out.append(py::make_tuple(utf8Object(cells.info.name),
                              sheetGrid(cells, keepHidden, path, values ? &*values : nullptr)));
  return out;
}

// ---------------------------------------------------------------------------
// The per-cell interface: one workbook kept open, a sheet read on demand.
// ---------------------------------------------------------------------------

py::tuple fontTuple(const host::Font& font) {
  return py::make_tuple(utf8Object(font.name), font.size, font.bold,
                        font.italic, font.underline);
}

py::object bordersTuple(const std::optional<host::Borders>& borders) {
  if (!borders) return py::none();
  // A side without a line has no colour worth giving.
  auto side = [](const host::BorderSide& s) -> py::object {
    if (s.style == 0) return py::none();
    return py::make_tuple(s.style, cli::htmlColour(s.color));
  };
  return py::make_tuple(side(borders->left), side(borders->top), side(borders->right),
                        side(borders->bottom));
}

py::object fillTuple(const std::optional<FillInfo>& fill) {
  if (!fill) return py::none();
  return py::make_tuple(fill->pattern, fill->shadePercent, cli::htmlColour(fill->foreColor),
                        cli::htmlColour(fill->backColor));
}

py::tuple alignmentTuple(uint16_t word) {
  const cli::Alignment a = cli::decodeAlignment(word);
  return py::make_tuple(cli::horizontalName(a.horizontal), cli::verticalName(a.vertical), a.wrap,
                        a.overflow);
}

// (row, column, address, text, value, type, font, text colour, background
// colour, fill, borders, alignment) per cell with its own line.
py::tuple cellTuple(const cli::CellModel& cell, const ValueMaker& values) {
  py::object text = py::none(), value = py::none();
  py::object type = py::reinterpret_steal<py::object>(values.typeObject(host::ValueType::Text));
  if (cell.text) {
    text = utf8Object(*cell.text);
    const host::TypedValue typed = host::inferValue(*cell.text);
    value = py::reinterpret_steal<py::object>(values.value(typed.type, typed.number, text.ptr()));
    type = py::reinterpret_steal<py::object>(values.typeObject(typed.type));
  }
  return py::make_tuple(cell.row, cell.column, cli::cellAddress(cell.column, cell.row), text, value,
                        type, fontTuple(cell.font), cli::htmlColour(cell.textColor),
                        cli::htmlColour(cell.backColor), fillTuple(cell.fill),
                        bordersTuple(cell.borders), alignmentTuple(cell.align));
}

class Book {
 public:
  Book(std::shared_ptr<PluginHandle> plugin, std::string path, const std::string& encoding)
      : plugin_(std::move(plugin)), path_(std::move(path)) {
    host::WalkOptions options;
    options.readerFlags = 1;  // no objects: the interface has none
    options.encoding = encoding;
    book_ = std::make_unique<OpenWorkbook>(*plugin_, path_, options);
    std::optional<host::Result<std::vector<host::SheetInfo>>> sheets;
    {
      py::gil_scoped_release unlocked;
      sheets.emplace(book_->walker->open());
    }
    if (!*sheets) raiseWorkbookError(path_, sheets->error().message);
  }

  py::list sheets() {
    py::list out;
    for (const host::SheetInfo& sheet : open().walker->sheets())
      out.append(py::make_tuple(utf8Object(sheet.name), sheet.number));
    return out;
  }

  py::list cells(size_t index) {
    if (index >= open().walker->sheets().size()) throw py::index_error("no such sheet");
    std::optional<host::Result<cli::SheetModel>> sheet;
    {
      py::gil_scoped_release unlocked;
      std::lock_guard<std::mutex> walking(mutex_);  // one walk of this reader at a time
      if (book_) sheet.emplace(readSheetModel(*book_->walker, index));
    }
    if (!sheet) open();  // closed meanwhile: raises
    if (!*sheet) raiseWorkbookError(path_, sheet->error().message);
    py::list out;
    for (const auto& [position, cell] : sheet->value().cells)
      if (!cell.formattedEmpty) out.append(cellTuple(cell, values_));
    return out;
  }

  void close() {
    py::gil_scoped_release unlocked;
    std::lock_guard<std::mutex> walking(mutex_);
    book_.reset();
  }

 private:
  OpenWorkbook& open() {
    if (!book_) throw WorkbookError(path_ + ": the workbook is closed");
    return *book_;
  }

  std::shared_ptr<PluginHandle> plugin_;  // outlives the walker's reader
  std::string path_;
  ValueMaker values_;
  std::unique_ptr<OpenWorkbook> book_;
  std::mutex mutex_;
};

// ---------------------------------------------------------------------------
// Conversion through the command's own writers.
// ---------------------------------------------------------------------------

// Every sheet's CSV kept as text, for a caller that gave no directory.
class CsvTexts : public cli::CsvSink {
 public:
  bool begin(const std::vector<host::SheetInfo>&) override { return true; }
  bool sheet(const host::SheetInfo& info, const cli::PieceProducer& csv) override {
    std::string& text = texts.emplace_back(info.name, std::string()).second;
    return csv([&text](std::string_view piece) {
      text += piece;
      return true;
    });
  }
  std::vector<std::pair<std::string, std::string>> texts;
};

void writeOrRaise(const std::string& out, std::string_view content) {
  std::string error;
  if (!cli::writeFileAtomically(out, content, &error)) raiseOsError(out, error, 0);
}

py::object convertCsv(const PluginHandle& plugin, const std::string& path,
                      const std::optional<std::string>& out, bool keepHidden,
                      const std::string& encoding) {
  cli::CsvOptions options;
  options.keepHidden = keepHidden;
  options.encoding = encoding;
  uint64_t bytes = 0;
  std::optional<host::Status> walked;
  if (!out) {
    CsvTexts texts;
    {
      py::gil_scoped_release unlocked;
      walked.emplace(cli::writeCsvSheets(plugin.table(), path, options, texts, &bytes));
    }
    if (!*walked) raiseWorkbookError(path, walked->error().message);
    py::dict result;
    for (const auto& [name, text] : texts.texts) result[utf8Object(name)] = utf8Object(text);
    return result;
  }
  cli::CsvDirectory directory(*out);
  {
    py::gil_scoped_release unlocked;
    walked.emplace(cli::writeCsvSheets(plugin.table(), path, options, directory, &bytes));
  }
  if (!*walked) raiseWorkbookError(path, walked->error().message);
  if (!directory.error().empty()) raiseOsError(*out, directory.error(), 0);
  return py::cast(directory.written());
}

// The XLSX file to out (its path returned), or its bytes without out.
py::object convertXlsx(const PluginHandle& plugin, const std::string& path,
                       const std::optional<std::string>& out, const std::string& encoding) {
  cli::XlsxStats stats;
  std::optional<std::string> failed;
  std::string bytes, writeError;
  {
    py::gil_scoped_release unlocked;
    failed = cli::convertToXlsx(
        plugin.table(), path, encoding, cli::ReadOptions{},
        [&](const cli::PieceProducer& xlsx) {
          if (out) return cli::writeFileAtomically(*out, xlsx, &writeError);
          return xlsx([&bytes](std::string_view piece) {
            bytes += piece;
            return true;
          });
        },
        &stats);
  }
  if (!writeError.empty()) raiseOsError(*out, writeError, 0);
  if (failed && !failed->empty()) raiseWorkbookError(path, *failed);
  warn(path, stats.warnings);
  if (!out) return py::bytes(bytes);
  return py::str(*out);
}

py::object convert(const PluginHandle& plugin, const std::string& path, const std::string& to,
                   const std::optional<std::string>& out, bool keepHidden,
                   const std::string& encoding) {
  openFile(path);  // OSError for a file that cannot be opened, before any walk
  if (to == "csv") return convertCsv(plugin, path, out, keepHidden, encoding);
  if (to == "xlsx") return convertXlsx(plugin, path, out, encoding);
  if (to != "json" && to != "html") throw py::value_error("to must be csv, json, html or xlsx");
  host::Status walked = std::monostate{};
  std::string text;
  {
    py::gil_scoped_release unlocked;
    if (to == "json") {
      cli::JsonOutcome outcome;
      uint64_t bytes = 0;
      cli::JsonOptions options;
      options.encoding = encoding;
      cli::workbookJson(plugin.table(), path, options, &bytes, &outcome)(
          [&text](std::string_view piece) {
            text += piece;
            return true;
          });
      walked = outcome.walked;
    } else if (auto book = cli::readWorkbook(plugin.table(), path, encoding)) {
      text = cli::workbookHtml(book.value(), cli::HtmlOptions{});
    } else {
      walked = book.error();
    }
  }
  if (!walked) raiseWorkbookError(path, walked.error().message);
  if (!out) return py::str(text);
  writeOrRaise(*out, text);
  return py::str(*out);
}

}  // namespace
}  // namespace wzss::python

PYBIND11_MODULE(_wzss, m) {
  using namespace wzss::python;
  m.doc() = "The native part of the wzss package; use the functions of wzss itself.";
  py::register_exception<WorkbookError>(m, "Error", PyExc_ValueError);
  py::class_<PluginHandle, std::shared_ptr<PluginHandle>>(m, "Plugin")
      .def(py::init<const std::string&>(), py::arg("path"));
  m.def("read_cells", &readCells, py::arg("plugin"), py::arg("path"), py::arg("encoding"));
  m.def("read_grids", &readGrids, py::arg("plugin"), py::arg("path"), py::arg("sheet"),
        py::arg("keep_hidden"), py::arg("typed"), py::arg("encoding"));
  m.def("convert", &convert, py::arg("plugin"), py::arg("path"), py::arg("to"), py::arg("out"),
        py::arg("keep_hidden"), py::arg("encoding"));
  py::class_<Book>(m, "Book")
      .def(py::init<std::shared_ptr<PluginHandle>, std::string, const std::string&>(), py::arg("plugin"),
           py::arg("path"), py::arg("encoding"))
      .def("sheets", &Book::sheets)
      .def("cells", &Book::cells, py::arg("index"))
      .def("close", &Book::close);
}
