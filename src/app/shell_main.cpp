#include "app/quillon_main.h"

// The shell behind `quillon`: the panel application and the commands that draw or notify.
int main(int argc, char** argv) {
    return quillon::quillonMain(argc, argv);
}
