#!/usr/bin/env bash
# Runs the sample cells and draws the bands and the I-V curve of each as PNG files, with gnuplot.
#
#   docs/plots.sh [FOLDER]      FOLDER for results and pictures; a new temporary one if none is given
#
# The program is build/release/kovin, or what KOVIN names. Without gnuplot nothing is drawn and the status is 0.
set -u
export LC_ALL=C
root=$(cd "$(dirname "$0")/.." && pwd)
kovin=${KOVIN:-$root/build/release/kovin}

if ! command -v gnuplot >/dev/null; then
    echo "plots: gnuplot is not installed, nothing is drawn"
    exit 0
fi
if ! command -v "$kovin" >/dev/null; then
    echo "plots: there is no program $kovin; build it (cmake --preset release && cmake --build --preset release)" >&2
    exit 1
fi
folder=${1:-$(mktemp -d -t kovin-plots.XXXXXX)} && mkdir -p "$folder" && folder=$(cd "$folder" && pwd) || exit 1

# The rows behind the heading that begins with WORD, up to the first line that is no row.
rows() { # WORD FILE
    awk -v word="$1" '$1 == word { on = 1; next } on && $1 !~ /^[-+]?[0-9]/ { exit } on { print }' "$2"
}

status=0
for definition in "$root"/home/def/*.def; do
    name=$(basename "$definition" .def)
    rm -f "$folder/$name.iv" "$folder/$name.eb"
    "$kovin" run "$definition" --home "$root/home" -o "$folder" -f -q >"$folder/$name.txt" 2>&1
    if [ ! -s "$folder/$name.iv" ]; then # a curve that was cut short is drawn as far as it goes
        echo "plots: $name: not drawn: $(grep -m 1 '^kovin:' "$folder/$name.txt")"
        continue
    fi
    rows i "$folder/$name.eb" >"$folder/$name.bands.txt"
    rows 'v(V)' "$folder/$name.iv" >"$folder/$name.curve.txt"
    if (cd "$folder" && gnuplot) <<END
set terminal pngcairo size 900,600 noenhanced
set grid
set title '$name'
set output '$name-bands.png'
set xlabel 'x (um)'
set ylabel 'energy (eV)'
plot for [c = 4:7] '$name.bands.txt' using 2:c with lines lw 2 title word('Ec Fn Fp Ev', c - 3)
set output '$name-iv.png'
set xlabel 'voltage (V)'
set ylabel 'current density (mA/cm2)'
set key left top
set xzeroaxis
plot '$name.curve.txt' using 1:2 with linespoints lw 2 pt 7 ps 0.5 title 'J'
END
    then
        echo "plots: $folder/$name-bands.png $folder/$name-iv.png"
    else
        echo "plots: $name: gnuplot failed" >&2
        status=1
    fi
done
exit $status
