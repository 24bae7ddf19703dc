#!/usr/bin/env bash
# Runs the sample cells and draws the bands and the I-V curve of each as PNG files, with gnuplot.
#
#   docs/plots.sh [FOLDER]      FOLDER for results and pictures; a new temporary one if none is given
#   docs/plots.sh --pages       draws the figures of the sample pages anew instead, docs/sample-*.svg
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
pages=
[ "${1:-}" = --pages ] && pages=yes && shift
folder=${1:-$(mktemp -d -t kovin-plots.XXXXXX)} && mkdir -p "$folder" && folder=$(cd "$folder" && pwd) || exit 1

# The rows behind the heading that begins with WORD, up to the first line that is no row.
rows() { # WORD FILE
    awk -v word="$1" '$1 == word { on = 1; next } on && $1 !~ /^[-+]?[0-9]/ { exit } on { print }' "$2"
}

# A run of a sample after the sed commands on its two files. Its results are NAME.*; behind the commands stand options.
variant() { # NAME SAMPLE COMMANDS_ON_DEF COMMANDS_ON_ACT OPTIONS...
    local name=$1 sample=$root/home/def/$2
    sed "$3" "$sample.def" >"$folder/$name.def" && sed "$4" "$sample.act" >"$folder/$name.act" &&
        "$kovin" run "$folder/$name.def" "$folder/$name.act" --home "$root/home" -o "$folder" -f -q "${@:5}" \
            >"$folder/$name.log" || exit 1
}
figure() { # NAME: gnuplot's commands from standard input into docs/NAME.svg
    { echo "set terminal svg size 680,440 noenhanced font 'sans-serif,13' background 'white'"
        echo "set output '$root/docs/$1.svg'; set grid"
        cat; } | (cd "$folder" && gnuplot) && echo "plots: $root/docs/$1.svg"
}

if [ -n "$pages" ]; then
    weak='s/3.000000e+24/3.000000e+23/g'
    shut='s/^\(Apply allowed tunnel paths to\) :.*/\1 : 1/'
    no_spike='/N-InAlAs/,$s/^\(chi :\).*/\1 4.5 4.5 1 1 1 4.5 4.5 0 0 [eV]/'
    variant tunnel-on tunnel-heterojunction "" "" --route classic
    variant tunnel-off tunnel-heterojunction "$shut" "" --route classic
    variant tunnel-weak-on tunnel-heterojunction "$weak" "" --route classic
    variant tunnel-weak-off tunnel-heterojunction "$weak;$shut" "" --route classic
    variant tunnel-no-spike tunnel-heterojunction "$shut;$no_spike" "" --route classic
    for name in on off weak-on weak-off no-spike; do rows 'v(V)' "$folder/tunnel-$name.iv" >"$folder/tunnel-$name.txt"; done
    figure sample-tunnel-heterojunction <<END || exit 1
set xlabel 'voltage (V)'
set ylabel 'current density (mA/cm2)'
set key left top
set xzeroaxis
set yrange [-60:60]
plot 'tunnel-on.txt' using 1:2 with lines lw 2 lc rgb '#1f77b4' title '3e18 cm-3, tunnelling', \
     'tunnel-off.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#1f77b4' title '3e18 cm-3, none', \
     'tunnel-weak-on.txt' using 1:2 with lines lw 2 lc rgb '#d62728' title '3e17 cm-3, tunnelling', \
     'tunnel-weak-off.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#d62728' title '3e17 cm-3, none', \
     'tunnel-no-spike.txt' using 1:2 with lines lw 1 dt 3 lc rgb 'black' title 'no spike'
END
    dark='s/^\(Secondworkpoint dark\) :.*/\1 : 1/'
    kept() { echo "$dark;s/^\(Secondworkpoint Voltage\) :.*/\1 : $1 V/"; }
    variant kept-light metastable-cigs "" ""
    variant kept-dark metastable-cigs "" "$dark"
    variant kept-reverse metastable-cigs "" "$(kept -1)"
    variant kept-forward metastable-cigs "" "$(kept 0.6)"
    for name in light dark reverse forward; do
        awk -F '\t' '$1 ~ /^x/ { for (c = 2; c <= NF; c++) if ($c ~ /metastable acceptor/) share = c }
            share && $1 + 0 == $1 && $1 < 3 { print $1 + 0, $share }' "$folder/kept-$name.occ" >"$folder/kept-$name.txt"
        rows 'v(V)' "$folder/kept-$name.iv" >"$folder/kept-$name.iv.txt"
    done
    figure sample-metastable-cigs <<END || exit 1
set multiplot layout 1,2
set xlabel 'x (um)'
set ylabel 'acceptor share of the pairs'
set key left top
set xrange [0:3]
set xtics 1
set yrange [0.5:1.2]
plot 'kept-dark.txt' using 1:2 with lines lw 2 lc rgb 'black' title 'dark, 0 V', \
     'kept-light.txt' using 1:2 with lines lw 2 lc rgb '#ff7f0e' title 'light, 0 V', \
     'kept-reverse.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#1f77b4' title 'dark, -1 V', \
     'kept-forward.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#d62728' title 'dark, 0.6 V'
set xlabel 'voltage (V)'
set ylabel 'current density (mA/cm2)'
unset key
set xzeroaxis
set xrange [0.4:0.68]
set xtics 0.1
set yrange [-35:15]
plot 'kept-dark.iv.txt' using 1:2 with lines lw 2 lc rgb 'black', \
     'kept-light.iv.txt' using 1:2 with lines lw 2 lc rgb '#ff7f0e', \
     'kept-reverse.iv.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#1f77b4', \
     'kept-forward.iv.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#d62728'
END
    spectrum='s/^IV_calculate :.*/IV_calculate : 0/;s/^QE_calculate :.*/QE_calculate : 1/
        s/^QE_startlambda :.*/QE_startlambda : 900 nm/;s/^QE_stoplambda :.*/QE_stoplambda : 1400 nm/
        s/^QE_points :.*/QE_points : 101/;s/^QE_increment :.*/QE_increment : 5 nm/'
    variant light-both impurity-photovoltaic "" "$spectrum"
    variant light-electrons impurity-photovoltaic '/optical capture.*holes/d' "$spectrum"
    variant light-holes impurity-photovoltaic '/optical capture.*electrons/d' "$spectrum"
    variant light-none impurity-photovoltaic '/optical capture/d' "$spectrum"
    for name in both electrons holes none; do rows 'lambda(nm)' "$folder/light-$name.qe" >"$folder/light-$name.txt"; done
    figure sample-impurity-photovoltaic <<END || exit 1
set xlabel 'wavelength (nm)'
set ylabel 'quantum efficiency (%)'
set key left bottom
set logscale y
set yrange [0.001:200]
set xrange [900:1400]
plot 'light-none.txt' using 1:2 with lines lw 2 lc rgb 'black' title 'indium as a mere acceptor', \
     'light-electrons.txt' using 1:2 with lines lw 2 lc rgb '#1f77b4' title 'electrons alone', \
     'light-both.txt' using 1:2 with lines lw 2 lc rgb '#2ca02c' title 'both transitions', \
     'light-holes.txt' using 1:2 with lines lw 2 dt 2 lc rgb '#d62728' title 'holes alone'
END
    exit 0
fi

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
