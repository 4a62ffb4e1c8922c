#include "app/quillon_main.h"

int main(int argc, char** argv) {
    return quillon::quillonMain(argc, argv);
}
