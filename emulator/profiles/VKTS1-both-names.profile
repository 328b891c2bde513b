# 20-character firmware holding both "VKT11" and "VKT31": the tool takes it for a Series 1. Letter 6 is 'V' (no encoder), letter 5 a blank (no smart card).
model = VKTS1
firmware = VKT11 VKT31 V1.00.01
serial = S01000002
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 1
ribbon_remaining = 500
ribbon_capacity = 1000
encoder = no
