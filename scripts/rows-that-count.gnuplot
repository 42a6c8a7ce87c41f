# Draws how many rows Adaptive looks at more closely; scripts/bench.sh gives `table` and `output_file`.
set terminal svg size 760,560 font "sans-serif,13" background "white"
set output output_file
set logscale xy
set grid xtics ytics lc rgb "#dddddd"
set key below left reverse Left maxcols 1
set xlabel "blocks"
set ylabel "rows left"
set format xy "%.0f"
set xrange [800:1250000]
set yrange [1:2000000]
plot table using 1:1 with linespoints lw 2 pt 7 title "all rows, held against their neighbourhood", \
     table using 1:2 with linespoints lw 2 pt 7 title "may share a list element with a neighbour of the query", \
     table using 1:3 with linespoints lw 2 pt 7 title "listed exactly by then", \
     table using 1:4 with linespoints lw 2 pt 7 title "may reach the threshold 0.3, so are settled"
