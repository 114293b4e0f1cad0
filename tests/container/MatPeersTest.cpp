// Files that SciPy and Octave write of every class, held against what these programs say is in them.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/NumberParser.h"
#include "container/MatFile.h"
#include "tests/container/CompleteRead.h"
#include "tests/container/MatPeers.h"
#include "tests/support/TempFolder.h"

namespace {

// A line a variable: its kind (numbers or texts), its name, rows of names above it, rows, columns and the
// cells, column by column, parted by tabs.
struct Told {
    explicit Told(const std::string& line) {
        std::istringstream stream(line);
        std::string field;
        std::vector<std::string> fields;
        while (std::getline(stream, field, '\t')) {
            fields.push_back(field);
        }
        isText = fields.at(0) == "T";
        name = fields.at(1);
        heads = ToLeadingInt(fields.at(2));
        rows = ToLeadingInt(fields.at(3));
        columns = ToLeadingInt(fields.at(4));
        cells.assign(fields.begin() + 5, fields.end());
        cells.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
    }

    bool isText = false;
    std::string name;
    int heads = 0;
    int rows = 0;
    int columns = 0;
    std::vector<std::string> cells;
};

bool IsSame(TableData& table, int col, int row, const Told& told, const std::string& cell) {
    if (told.isText) {
        return table.GetString(col, row) == cell;
    }
    double wanted = 0;
    ParseDouble(cell, wanted);
    const double found = table.GetFloatValue(col, row);
    return table.IsFloat(col, row) && (found == wanted || (std::isnan(found) && std::isnan(wanted)));
}

void ExpectTold(const std::string& path, const Told& told) {
    SCOPED_TRACE(path + ": " + told.name);
    CompleteRead<MatFile> read(path, {{"Part", told.name}});
    ASSERT_EQ(read.status, 0) << read.error;
    ASSERT_EQ(read.table.GetNumberOfRows(), told.rows + told.heads);
    ASSERT_EQ(read.table.GetNumberOfColumns(), told.columns);
    std::size_t place = 0;
    for (int col = 1; col <= told.columns; ++col) {
        for (int row = 1; row <= told.rows; ++row) {
            const std::string& cell = told.cells[place++];
            EXPECT_TRUE(IsSame(read.table, col, row + told.heads, told, cell))
                << col << ", " << row << ": " << read.table.GetString(col, row + told.heads) << " for "
                << cell;
        }
    }
}

// All that is told of the files NAME.mat by NAME.txt beside them; how many variables.
int ExpectAllTold(const std::string& folder, std::initializer_list<const char*> names) {
    int count = 0;
    for (const char* name : names) {
        std::ifstream truth(folder + "/" + name + ".txt");
        for (std::string line; std::getline(truth, line);) {
            ExpectTold(folder + "/" + name + ".mat", Told(line));
            ++count;
        }
    }
    return count;
}

constexpr const char* ScipyScript = R"(
import sys, numpy as np, scipy.io as sio, scipy.sparse as sp
folder = sys.argv[1] + '/'
rng = np.random.default_rng(5)
v = {'d': rng.normal(size=(7, 5)) * 1e200, 's': rng.normal(size=(3, 4)).astype('f4'), 'row': rng.normal(size=(1, 70000)),
     'col': rng.normal(size=(70000, 1)), 'special': np.array([[np.nan, np.inf, -np.inf, 0.0, 5e-324]]),
     'z': rng.normal(size=(3, 2)) + 1j * rng.normal(size=(3, 2)), 'n3': rng.normal(size=(2, 3, 4)),
     'n4z': rng.normal(size=(2, 2, 2, 2)) + 1j, 'text': np.array(['abc', 'd']), 'uni': 'Gr\u00fc\u00dfe \u20ac\U0001f600',
     'sparse': sp.random(20, 30, 0.2, random_state=3, format='csc'),
     'sparsez': sp.csc_matrix(np.array([[0, 1 + 2j], [0, 0], [3j, 0]])),
     'b': np.array([[True, False, True]]), 'S': {'x': rng.normal(size=(2, 2)), 'in': {'t': 'deep', 'v': np.arange(3.)}},
     'C': np.array([['text', 2.5]], dtype=object)}
for name in 'i1 u1 i2 u2 i4 u4 i8 u8'.split():
    info = np.iinfo(name)
    v[name] = np.array([[info.min, info.max, 1], [0, 2, info.max - 1]], dtype=name)

def tell(out, name, a):
    if sp.issparse(a):
        a = a.toarray()
    heads = 0
    if a.dtype.kind == 'U' or a.dtype.kind == 'O':
        kind, cells, rows, cols = 'T', [str(x) for x in a.flatten(order='F')], a.shape[0], a.shape[1] if a.ndim > 1 else 1
    else:
        heads = 1 if a.ndim > 2 or a.dtype.kind == 'c' else 0
        m = a.reshape((a.shape[0], -1), order='F')
        if m.dtype.kind == 'c':
            m = np.stack([m.real, m.imag], axis=-1).reshape((m.shape[0], -1))
        rows, cols = m.shape
        kind = 'N' if m.dtype.kind == 'f' else 'T'
        word = {'f': lambda x: repr(float(x)), 'b': lambda x: str(bool(x)).upper()}.get(m.dtype.kind, lambda x: str(int(x)))
        cells = [word(x) for x in m.flatten(order='F')]
    out.write('\t'.join([kind, name, str(heads), str(rows), str(cols)] + cells) + '\n')

def write(file, names, **how):
    chosen = {k: v[k] for k in names}
    sio.savemat(folder + file + '.mat', chosen, oned_as='row', **how)
    with open(folder + file + '.txt', 'w', encoding='utf-8') as out:
        for k, a in chosen.items():
            if k == 'S':
                tell(out, 'S.x', a['x']); tell(out, 'S.in.t', np.array(['deep'])); tell(out, 'S.in.v', a['in']['v'].reshape(1, 3))
            elif k == 'uni':
                tell(out, k, np.array([a]))
            else:
                tell(out, k, a)

write('five', list(v)); write('packed', list(v), do_compression=True)
write('four', ['d', 's', 'row', 'col', 'special', 'z', 'text', 'sparse', 'sparsez', 'u1', 'i2', 'u2', 'i4'], format='4')
)";

constexpr const char* OctaveScript = R"(
folder = argv(){1};
rand('seed', 5);
d = rand(7, 5) * 1e200; s = single(rand(3, 4)); row = rand(1, 70000); col = rand(70000, 1);
special = [NaN Inf -Inf 0 realmin]; z = rand(3, 2) + i * rand(3, 2); range = 1:9; unit = eye(4); perm = eye(3)(:, [2 3 1]);
text = ['abc'; 'd  ']; uni = 'Grüße'; sparsed = sprand(20, 30, 0.2); sparsez = sparse([0 1+2i; 0 0; 3i 0]);
n3 = rand(2, 3, 4); b = [true false true]; sparseb = sparse([true false; false true]);
i1 = intmin('int8'):intmax('int8'); u1 = uint8([0 255]); i2 = int16([-32768 32767]); u2 = uint16([0 65535]);
i4 = int32([-2147483648 2147483647]); u4 = uint32([0 4294967295]); i8 = [intmin('int64') intmax('int64')]; u8 = [uint64(0) bitshift(intmax('uint64'), -1)];
S.x = rand(2, 2); S.in.t = 'deep'; C = {'text', 2.5}; short = ['ab'; 'cd']; three = ['a'; 'b'; 'c'];
function tell(out, name, a)
  heads = 0; kind = 'N'; a = full(a);
  if ischar(a)
    rows = size(a, 1); cols = 1; cells = cellfun(@(t) t, cellstr(a), 'UniformOutput', false); kind = 'T';
  elseif iscell(a)
    [rows, cols] = size(a); kind = 'T'; cells = cellfun(@(t) num2str(t), a(:), 'UniformOutput', false);
  else
    heads = (ndims(a) > 2 || iscomplex(a)); m = reshape(a, size(a, 1), []);
    if iscomplex(m)
      pairs = zeros(size(m, 1), 2 * size(m, 2)); pairs(:, 1:2:end) = real(m); pairs(:, 2:2:end) = imag(m); m = pairs;
    end
    [rows, cols] = size(m);
    if islogical(m)
      kind = 'T'; words = {'FALSE', 'TRUE'}; cells = words(m(:) + 1);
    elseif isinteger(m)
      kind = 'T'; cells = arrayfun(@(x) sprintf('%d', x), m(:), 'UniformOutput', false);
    else
      cells = arrayfun(@(x) sprintf('%.17g', x), double(m(:)), 'UniformOutput', false);
    end
  end
  fprintf(out, '%s\t%s\t%d\t%d\t%d\t%s\n', kind, name, heads, rows, cols, strjoin(cells(:)', "\t"));
end
plain = {'d', 'row', 'col', 'special', 'z', 'range', 'unit', 'perm', 'text'};
all = [plain, {'short', 'three', 's', 'uni', 'sparsed', 'sparsez', 'n3', 'b', 'sparseb', 'i1', 'u1', 'i2', 'u2', 'i4', 'u4', 'i8', 'u8', 'S', 'C'}];
files = {'six', '-v6', all; 'seven', '-v7', all; 'four', '-v4', plain};
for k = 1:3
  out = fopen([folder '/' files{k, 1} '.txt'], 'w'); names = files{k, 3};
  save(files{k, 2}, [folder '/' files{k, 1} '.mat'], names{:});
  for j = 1:numel(names)
    if strcmp(names{j}, 'S')
      tell(out, 'S.x', S.x); tell(out, 'S.in.t', S.in.t);
    else
      tell(out, names{j}, eval(names{j}));
    end
  end
  fclose(out);
end
)";

}  // namespace

TEST(MatPeersTest, WhatScipyWritesIsReadAsItWas) {
    const std::string python = PythonWithScipy();
    if (python.empty()) {
        GTEST_SKIP() << "there is no python with scipy";
    }
    const TempFolder folder;
    const std::string script = folder.Write("write.py", ScipyScript);
    ASSERT_EQ(std::system((python + " '" + script + "' '" + folder.Path("") + "'").c_str()), 0);
    EXPECT_EQ(ExpectAllTold(folder.Path(""), {"five", "packed", "four"}), 63);
}

TEST(MatPeersTest, WhatOctaveWritesIsReadAsItWas) {
    const std::string octave = Octave();
    if (octave.empty()) {
        GTEST_SKIP() << "there is no octave";
    }
    const TempFolder folder;
    const std::string script = folder.Write("write.m", OctaveScript);
    ASSERT_EQ(std::system((octave + " --no-init-file '" + script + "' '" + folder.Path("") + "'").c_str()),
              0);
    EXPECT_EQ(ExpectAllTold(folder.Path(""), {"six", "seven", "four"}), 67);
}
