# Draws CHART, an SVG file, from DATA: a line for each workload with each contender's time, or "?".
set datafile missing "?"
set terminal svg size 900,420 dynamic font "sans-serif,13" background "white"
set output CHART
set title "Time in multiples of the library's own: above 1 the library is faster"
set style data histogram
set style histogram clustered gap 1
set style fill solid noborder
set grid ytics
set yrange [0:*]
set key below horizontal
plot for [i=2:7] DATA using (column(i) / column(2)):xtic(1) title columnheader(i)
