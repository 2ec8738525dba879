# gnuplot -e "data='RESULTS/list.dat'; picture='performance.svg'" bench/performance.gnuplot
set terminal svg size 640,400 font "sans-serif,13" background "#ffffff"
set output picture
set title "Cost of a list request, in microseconds"
set xlabel "drives"
set logscale xy
set xrange [0.8:125]
set grid lc "#dddddd"
set key top left
plot data using 1:2:3:4 with yerrorlines lw 2 pt 7 lc "#0066cc" title "the library", \
     data using 1:5:6:7 with yerrorlines lw 2 pt 7 dt 2 lc "#888888" title "its bare system calls"
