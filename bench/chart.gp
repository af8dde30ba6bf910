# Usage: gnuplot -e "chart='DATA'; out='FILE'" chart.gp
#
# The instructions of the other libraries as multiples of this library's: a bar
# for each operation and library, up or down from 1.
set terminal svg size 900,420 dynamic font "sans-serif,13" background "white"
set output out
set title "Instructions, this library = 1 (above: the other needs more)"
set logscale y 2
set format y "%g"
set xrange [-0.5:4.5]
set xtics scale 0
set ytics nomirror
set grid y linecolor "#dddddd"
set border 3
set key outside below horizontal samplen 1
set style fill solid

names = "RapidJSON cJSON json-c Jansson nlohmann/json JsonCpp"
colors = "#4477aa #ee6677 #228833 #ccbb44 #66ccee #aa3377"
width = 0.13
left(i) = $0 + (i - 4) * width
right(i) = left(i) + 0.9 * width
plot for [i = 1:6] chart \
       using (left(i)):(1):(left(i)):(right(i)):(1):(column(i + 1)) \
       with boxxyerror linecolor rgb word(colors, i) title word(names, i), \
     chart using 0:(1):xtic(1) with points pointtype 0 notitle, \
     1 with lines linecolor "black" notitle
