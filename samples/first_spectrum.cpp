// Prints the columns of a file with their types, and the first spectrum, if there is one.
//
//     c++ -std=c++20 first_spectrum.cpp $(pkg-config --cflags --libs karta-import) -o first_spectrum
#include <karta/Read.h>

#include <iostream>

int main(int, char** arguments) try {
    const karta::Table table = karta::Read(arguments[1]);
    for (const karta::Column& column : table.GetColumns()) {
        std::cout << column.GetName() << ": " << karta::GetTypeName(column.GetType()) << '\n';
    }
    if (const karta::Block* spectra = table.GetBlock(); spectra != nullptr && table.GetRowCount() > 0) {
        for (std::int64_t point = 0; point < spectra->GetPointCount(); ++point) {
            std::cout << spectra->GetPointName(point) << '\t' << spectra->GetNumber(0, point) << '\n';
        }
    }
} catch (const karta::Error& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
