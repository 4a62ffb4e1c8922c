// Quillon's GNOME Shell extension, for GNOME Shell 43 and 44 (the shell's legacy imports).
/* exported init */
const { Clutter, Gio, GLib, St } = imports.gi;
const Main = imports.ui.main;
const PanelMenu = imports.ui.panelMenu;
const PopupMenu = imports.ui.popupMenu;
const ExtensionUtils = imports.misc.extensionUtils;

class QuillonExtension {
    enable() {
        const me = ExtensionUtils.getCurrentExtension();
        this._button = new me.imports.quillon.QuillonButton(
            { Clutter, Gio, GLib, St, Main, PanelMenu, PopupMenu }, me.path);
    }

    disable() {
        this._button?.destroy();
        this._button = null;
    }
}

/**
 * The shell's entry point for extensions of this kind; it does nothing until enable().
 *
 * @returns {QuillonExtension} the extension
 */
function init() {
    return new QuillonExtension();
}
