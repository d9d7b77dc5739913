#!/bin/bash
# Installs the build into a temporary prefix and checks what a user gets: the tree, both
# programs' --version from there, the desktop entry and the metainfo, the manual pages, a
# letters run from the installed command line with a .doc template (through the office suite),
# and the Debian package with its dependencies.
#   check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
source=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
for file in bin/quillbay bin/quillbay-cli libexec/quillbay/quillbay-mdb-reader libexec/quillbay/quillbay-xls-reader share/quillbay/office_bridge.py \
            share/quillbay/office_common.py share/quillbay/writer_session.py share/quillbay/quillbay-log.oxt \
            share/applications/org.quillbay.Quillbay.desktop share/metainfo/org.quillbay.Quillbay.metainfo.xml \
            share/icons/hicolor/scalable/apps/org.quillbay.Quillbay.svg \
            share/icons/hicolor/48x48/apps/org.quillbay.Quillbay.png \
            share/icons/hicolor/128x128/apps/org.quillbay.Quillbay.png \
            share/man/man1/quillbay.1 share/man/man1/quillbay-cli.1 \
            share/bash-completion/completions/quillbay-cli; do
    [ -s "$prefix/$file" ] || fail "$file is not installed"
done
version=$(sed -n 's/^project(Quillbay VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
[ "$("$prefix/bin/quillbay-cli" --version)" = "quillbay-cli $version" ] || fail "quillbay-cli --version"
[ "$("$prefix/bin/quillbay" --version)" = "quillbay $version" ] || fail "quillbay --version"
for size in 48 128; do
    # The width and height of a PNG stand in its header, big-endian, from byte 16 on.
    [ "$(od -An -tu4 --endian=big -j16 -N8 "$prefix/share/icons/hicolor/${size}x${size}/apps/org.quillbay.Quillbay.png" |
        tr -s ' ')" = " $size $size" ] || fail "the $size px icon"
done

if command -v desktop-file-validate >/dev/null; then
    desktop-file-validate "$prefix/share/applications/org.quillbay.Quillbay.desktop" || fail "desktop entry"
else
    echo "SKIP: desktop-file-validate is not installed"
fi
if command -v appstreamcli >/dev/null; then
    appstreamcli validate --no-net "$prefix/share/metainfo/org.quillbay.Quillbay.metainfo.xml" >/dev/null ||
        fail "metainfo"
else
    echo "SKIP: appstreamcli is not installed"
fi
for page in quillbay quillbay-cli; do
    text=$(MANWIDTH=100 man -l "$prefix/share/man/man1/$page.1" 2>/dev/null)
    grep -q "^NAME" <<<"$text" || fail "man -l $page.1"
done
grep -q -- "--eml-dir" <<<"$(man -l "$prefix/share/man/man1/quillbay-cli.1" 2>/dev/null)" ||
    fail "quillbay-cli(1) lists no command options"

# A letters run from the installed program: the office suite's bridge goes with the binary.
HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
export HOME XDG_CONFIG_HOME XDG_DATA_HOME
mkdir -p "$HOME"
/usr/bin/python3 "$source/tests/support/make_docx.py" plain "$work/letter.docx" "Dear [[FirstName]]" >/dev/null
soffice --headless --convert-to doc --outdir "$work" "$work/letter.docx" >/dev/null 2>&1 ||
    fail "the office suite cannot make a .doc template"
printf 'Name,Email\r\nAnn,ann@example.com\r\n' >"$work/contacts.csv"
"$prefix/bin/quillbay-cli" letters --contacts "$work/contacts.csv" --skip-first-row --template "$work/letter.doc" \
    --out-dir "$work/letters" >"$work/letters.out" || { cat "$work/letters.out"; fail "letters from the installed program"; }
[ -s "$work/letters/Quillbay+1.doc" ] || fail "no letter was written"

# The Debian package: its files and its dependencies.
if command -v dpkg-deb >/dev/null && command -v dpkg-shlibdeps >/dev/null; then
    (cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/deb" >/dev/null) || fail "cpack -G DEB"
    deb=$(ls "$work"/deb/quillbay_*.deb)
    info=$(dpkg-deb --info "$deb")
    contents=$(dpkg-deb --contents "$deb")
    for needed in libreoffice-writer libreoffice-gtk3 python3-uno libqt6widgets6 libzip4 libpugixml1v5; do
        grep -q "Depends:.*$needed" <<<"$info" || fail "the package does not depend on $needed"
    done
    for file in ./usr/bin/quillbay ./usr/bin/quillbay-cli ./usr/share/applications/org.quillbay.Quillbay.desktop \
                ./usr/share/man/man1/quillbay-cli.1; do
        grep -q " $file" <<<"$contents" || fail "the package holds no $file"
    done
    echo "package: $(basename "$deb"), $(du -k "$deb" | cut -f1) KB"
else
    echo "SKIP: dpkg-deb or dpkg-shlibdeps is not installed"
fi
echo "installed tree, programs, desktop entry, metainfo, manual pages and package checked"
