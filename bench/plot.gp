# The time per row as bars. Given: file, work, machine and the lines of $ways: text, ns per row, quartiles, ours or not.
count = |$ways|
set terminal svg size 820, 24 * count + 90 font "sans-serif,12" noenhanced background "white"
set output file
set label 1 work . ": nanoseconds per row, less is better" at screen 0.01, screen 0.95 font ",13"
set label 2 machine at screen 0.01, screen 0.02 font ",9"
set yrange [count - 0.4:-0.6]
set xrange [0:*]
set tmargin 3
set bmargin 4
set grid xtics
set border 1
set tics nomirror scale 0
unset key
color(ours) = int(ours) ? 0x2b6cb0 : 0xa0aec0
plot $ways using (0):0:(0):2:($0 - 0.35):($0 + 0.35):(color($5)):ytic(1) with boxxyerror fillstyle solid \
       linecolor rgb variable, \
     $ways using 2:0:3:4 with xerrorbars pointtype 0 linecolor "black", \
     $ways using 4:0:(sprintf("%.0f", $2)) with labels left offset 1, 0
