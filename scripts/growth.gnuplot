# Draws time by number of blocks. scripts/bench.sh sets `table` and `output_file`.
set terminal svg size 760,480 font "sans-serif,13" background "white"
set output output_file
set logscale xy
set grid xtics ytics lc rgb "#dddddd"
set key left top reverse Left
set xlabel "blocks"
set ylabel "seconds"
set format x "%.0f"
set format y "%g"
set xrange [800:1250000]
plot table using 1:5 with linespoints lw 2 pt 7 title "Adaptive", \
     table using 1:2 with linespoints lw 2 pt 7 title "load, JSON", \
     table using 1:3 with linespoints lw 2 pt 7 title "load, CBOR", \
     table using 1:4 with linespoints lw 2 pt 7 title "ByShape"
