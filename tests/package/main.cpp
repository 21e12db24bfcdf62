#include <QuillonLib.h>

#include <iostream>

int main() {
    using namespace QuillonLib;
    Utils utils;
    const TextArray pieces = utils.GetSQLStatementsFromScript(u"SELECT 1\r\nGO\r\nSELECT 2");
    if (pieces.Items.size() != 2) return 1;
    Database nowhere;
    nowhere.Server(u"127.0.0.1,1");
    try {
        nowhere.Load();
        return 1;
    } catch (const Error& error) {
        std::cout << "As it should be: " << error.what() << '\n';
    }
    return 0;
}
