# The plot of docs/performance.md, from the figures in `folder`: gnuplot -e "folder='…'; out='…'"
set terminal svg size 900,380 font "sans-serif,12" background rgb "white"
set output out
set key bottom right
set grid ytics linecolor rgb "#dddddd"
set style line 1 linecolor rgb "#888888" linewidth 2 pointtype 7 pointsize 0.5
set style line 2 linecolor rgb "#dd8800" linewidth 2 pointtype 7 pointsize 0.5
set style line 3 linecolor rgb "#0055aa" linewidth 2 pointtype 7 pointsize 0.5

set multiplot layout 1,2
set title "A snapshot, by its axes"
set xlabel "servo axes"
set ylabel "µs"
set xrange [0:33]
set yrange [0:]
plot folder."/growth.dat" using 1:2 with linespoints linestyle 1 title "raw exchange", \
     "" using 1:3 with linespoints linestyle 2 title "system calls alone", \
     "" using 1:4 with linespoints linestyle 3 title "zelQ\\_GetAllStatus"

set title "Moves that take no longer"
set xlabel "µs"
set ylabel "%"
set xrange [*:*]
set yrange [0:100]
plot folder."/spread.dat" using 2:1 with lines linestyle 1 title "raw exchange", \
     "" using 3:1 with lines linestyle 2 title "system calls alone", \
     "" using 4:1 with lines linestyle 3 title "zelQ\\_MoveAbs"
