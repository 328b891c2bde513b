# Series 32 without magnetic encoder: 20-character firmware, letter 6 is not 'M'; encoder commands get the error form.
model = VKTS32
firmware = VKT32-- V1.02.03.016
serial = S32000004
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 43
ribbon_remaining = 120
ribbon_capacity = 200
encoder = no
